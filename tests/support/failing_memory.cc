#include "support/failing_memory.h"

#include <cstdlib>
#include <new>

// In a file of their own, where the compiler does not see the one without the other through inlining.

int testing_support::allocationsLeft = -1;

void* operator new(size_t size) {
  void* const memory = testing_support::allocationsLeft == 0 ? nullptr : std::malloc(size);
  if (!memory) throw std::bad_alloc();
  if (testing_support::allocationsLeft > 0) --testing_support::allocationsLeft;
  return memory;
}

void operator delete(void* memory) noexcept {
  std::free(memory);
}

void operator delete(void* memory, size_t) noexcept {
  std::free(memory);
}
