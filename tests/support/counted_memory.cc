#include "support/counted_memory.h"

#include <cstdlib>
#include <new>

// In a file of its own, where the compiler does not see the one without the other through inlining.
//
// No thread_local: its first use in a thread calls the heap itself.
std::atomic<DWORD> testing_support::countedThread = 0;
std::atomic<int> testing_support::heapCalls = 0;

namespace {

void Count() {
  if (testing_support::countedThread == GetCurrentThreadId()) ++testing_support::heapCalls;
}

}  // namespace

void* operator new(size_t size) {
  Count();
  void* const memory = std::malloc(size);
  if (!memory) throw std::bad_alloc();
  return memory;
}

void operator delete(void* memory) noexcept {
  Count();
  std::free(memory);
}

void operator delete(void* memory, size_t) noexcept {
  ::operator delete(memory);
}
