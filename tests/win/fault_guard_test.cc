#include "win/fault_guard.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <array>
#include <cstring>
#include <thread>

using win::CallUnderFaultGuard;

namespace {

void StoreOne(void* number) {
  *static_cast<int*>(number) = 1;
}

/// Machine code that the processor refuses to execute.
void ExecuteIllegalInstruction(void* /*unused*/) {
  constexpr std::array<BYTE, 2> kUndefined = {0x0F, 0x0B};
  static void* const code = [&] {
    void* page = VirtualAlloc(nullptr, 4096, MEM_COMMIT | MEM_RESERVE, PAGE_EXECUTE_READWRITE);
    std::memcpy(page, kUndefined.data(), kUndefined.size());
    return page;
  }();
  reinterpret_cast<void (*)()>(code)();
}

/// An inner guard takes its own fault, then the outer one's function faults as well.
void NestAndFault(void* innerRefused) {
  *static_cast<bool*>(innerRefused) = !CallUnderFaultGuard(&ExecuteIllegalInstruction, nullptr);
  void* const nowhere = VirtualAlloc(nullptr, 4096, MEM_RESERVE, PAGE_NOACCESS);
  StoreOne(nowhere);
}

}  // namespace

TEST(FaultGuard, GoesOnAfterARealFault) {
  int number = 0;
  EXPECT_TRUE(CallUnderFaultGuard(&StoreOne, &number));
  EXPECT_EQ(number, 1);
  // Again and again, from a frame whose locals must survive in registers and on the stack.
  int refused = 0;
  for (int i = 0; i < 1000; ++i)
    refused += CallUnderFaultGuard(&ExecuteIllegalInstruction, nullptr) ? 0 : 1;
  EXPECT_EQ(refused, 1000);
  EXPECT_FALSE(CallUnderFaultGuard(&StoreOne, nullptr));
}

TEST(FaultGuard, NestsAndIsEachThreadsOwn) {
  bool innerRefused = false;
  EXPECT_FALSE(CallUnderFaultGuard(&NestAndFault, &innerRefused));
  EXPECT_TRUE(innerRefused);
  std::array<bool, 4> survived{};
  std::array<std::thread, 4> threads;
  for (size_t i = 0; i < threads.size(); ++i) {
    threads[i] = std::thread([&survived, i] {
      bool inner = false;
      bool all = true;
      for (int round = 0; round < 200; ++round)
        all = all && !CallUnderFaultGuard(&NestAndFault, &inner) && inner;
      survived[i] = all;
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(survived, (std::array<bool, 4>{true, true, true, true}));
}
