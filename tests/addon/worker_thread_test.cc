#include "addon/worker_thread.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <array>
#include <atomic>
#include <cstring>
#include <string>
#include <thread>

#include "support/import_patch.h"

namespace {

using testing_support::RealFunction;
auto* const realGetProcAddress = RealFunction<decltype(GetProcAddress)>(L"kernel32.dll", "GetProcAddress");
auto* const realRaiseException = RealFunction<decltype(RaiseException)>(L"kernel32.dll", "RaiseException");

FARPROC WINAPI HideSetThreadDescription(HMODULE module, LPCSTR name) {
  return std::strcmp(name, "SetThreadDescription") == 0 ? nullptr : realGetProcAddress(module, name);
}

std::string raisedName;

/// Reads the name as a debugger would, then really raises the exception.
void WINAPI ReadAndRaise(DWORD code, DWORD flags, DWORD count, const ULONG_PTR* arguments) {
  EXPECT_EQ(code, 0x406D1388U);
  EXPECT_EQ(flags, 0U);
  ASSERT_EQ(count, 3U);
  EXPECT_EQ(static_cast<DWORD>(arguments[0]), 0x1000U);
  raisedName = reinterpret_cast<const char*>(arguments[1]);
  EXPECT_EQ(arguments[2], GetCurrentThreadId()) << "the upper half holds the flags, which are 0";
  realRaiseException(code, flags, count, arguments);
}

}  // namespace

TEST(WorkerThread, MayEndAtOnceWhileOthersStart) {
  constexpr int kStarters = 8;
  constexpr int kWorkersEach = 300;
  std::atomic<int> ended = 0;
  std::array<std::thread, kStarters> starters;
  for (std::thread& starter : starters) {
    starter = std::thread([&] {
      for (int worker = 0; worker < kWorkersEach; ++worker)
        addon::StartWorker("Short", [&] { ++ended; });
    });
  }
  for (std::thread& starter : starters)
    starter.join();
  for (int turn = 0; turn < 1000 && ended < kStarters * kWorkersEach; ++turn)
    Sleep(10);
  EXPECT_EQ(ended, kStarters * kWorkersEach);
}

TEST(WorkerThread, TellsDebuggersTheNameOnASystemWithoutThreadDescriptions) {
  const testing_support::ImportPatch hide("GetProcAddress", &HideSetThreadDescription);
  const testing_support::ImportPatch raise("RaiseException", &ReadAndRaise);
  addon::SetCurrentThreadName("CaptureJank");
  EXPECT_EQ(raisedName, "CaptureJank") << "and the thread went on";
}
