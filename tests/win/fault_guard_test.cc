#include "win/fault_guard.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <array>
#include <cstring>

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
