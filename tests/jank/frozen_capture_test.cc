// Nothing of this module's own may come from the process heap, or go back to it, while a thread is frozen; nor as long
// as the call lock is held, because the thread may not have been resumed.

#include <gtest/gtest.h>

#include <windows.h>

#include <future>
#include <new>
#include <string>
#include <thread>
#include <utility>

#include "jank/capture.h"
#include "jank/dbghelp_functions.h"
#include "support/counted_memory.h"
#include "support/import_patch.h"
#include "support/temp_folder.h"

using testing_support::heapCalls;
using testing_support::ImportPatch;
using testing_support::RealFunction;
using testing_support::TempFolder;

namespace {

auto* const realSuspend = RealFunction<decltype(SuspendThread)>(L"kernel32.dll", "SuspendThread");
void (*realUnlock)() = nullptr;

int freezes = 0;

DWORD WINAPI CountFromSuspend(HANDLE thread) {
  const DWORD result = realSuspend(thread);
  ++freezes;
  testing_support::countedThread = GetCurrentThreadId();
  return result;
}
void CountUntilUnlock() {
  testing_support::countedThread = 0;
  realUnlock();
}

// A DbgHelp that takes nothing from the heap.
constexpr int kModules = 400;
constexpr int kFrames = 3000;
int framesLeft = 0;

BOOL WINAPI Succeed(HANDLE) {
  return TRUE;
}
BOOL WINAPI SucceedInitialize(HANDLE, PCSTR, BOOL) {
  return TRUE;
}
BOOL WINAPI FailEnumeration(HANDLE, PENUMLOADED_MODULES_CALLBACKW64, PVOID) {
  return FALSE;
}
BOOL WINAPI FailDump(HANDLE, DWORD, HANDLE, MINIDUMP_TYPE, PMINIDUMP_EXCEPTION_INFORMATION,
                     PMINIDUMP_USER_STREAM_INFORMATION, PMINIDUMP_CALLBACK_INFORMATION) {
  return FALSE;
}
BOOL WINAPI FailGetThreadContext(HANDLE, CONTEXT*) {
  return FALSE;
}
BOOL WINAPI ManyModules(HANDLE, PENUMLOADED_MODULES_CALLBACKW64 callback, PVOID context) {
  for (DWORD64 index = 0; index < kModules; ++index) {
    callback(L"C:\\Program Files\\Client\\a module with a name that is not short.dll", index << 20, 1 << 20, context);
  }
  framesLeft = kFrames;
  return TRUE;
}
BOOL WINAPI ManyFrames(DWORD, HANDLE, HANDLE, LPSTACKFRAME64 frame, PVOID, PREAD_PROCESS_MEMORY_ROUTINE64,
                       PFUNCTION_TABLE_ACCESS_ROUTINE64, PGET_MODULE_BASE_ROUTINE64, PTRANSLATE_ADDRESS_ROUTINE64) {
  frame->AddrPC.Offset = static_cast<DWORD64>(framesLeft) << 17;
  return framesLeft-- > 0;
}

class FrozenCapture : public testing::Test {
 protected:
  void SetUp() override {
    table_ = GetDbgHelpFunctions();
    saved_ = *table_;
    table_->SymInitialize = &SucceedInitialize;
    table_->SymCleanup = &Succeed;
    table_->EnumerateLoadedModulesW64 = &ManyModules;
    table_->StackWalk64 = &ManyFrames;
    realUnlock = std::exchange(table_->Unlock, &CountUntilUnlock);
    table_->MiniDumpWriteDump = nullptr;
  }
  void TearDown() override { *table_ = saved_; }

  static jank::CaptureJankResult Capture(DWORD threadId, const std::wstring& janksDir) {
    jank::CaptureJankArgs args;
    args.processId = GetCurrentProcessId();
    args.threadId = threadId;
    args.janksDir = janksDir;
    jank::CaptureJankResult result;
    jank::RunCapture(args, result);
    return result;
  }

  DbgHelpFunctions* table_ = nullptr;
  DbgHelpFunctions saved_{};
};

}  // namespace

TEST_F(FrozenCapture, TakesNothingFromTheHeapWhateverHappens) {
  const TempFolder folder;
  std::promise<void> end;
  std::promise<DWORD> id;
  std::thread target([&] {
    id.set_value(GetCurrentThreadId());
    end.get_future().wait();
  });
  const DWORD threadId = id.get_future().get();
  const ImportPatch suspend("SuspendThread", &CountFromSuspend);
  const auto captured = [&](const std::wstring& janksDir) {
    freezes = 0;
    heapCalls = 0;
    auto result = Capture(threadId, janksDir);
    EXPECT_EQ(freezes, 1);
    EXPECT_EQ(heapCalls, 0);
    return result;
  };
  auto result = captured(folder.Prefix());
  EXPECT_EQ(result.dumpJankResult.errorText, "Invalid dbghelp functions");
  EXPECT_EQ(result.captureStackResult.stackTrace.size(),
            kFrames * std::string("a module with a name that is not short.dll!0x20000\r\n").size() -
                static_cast<size_t>(kFrames) / 8 * 4);
  table_->MiniDumpWriteDump = &FailDump;
  EXPECT_EQ(captured(folder.Prefix()).dumpJankResult.errorText, "Failed to write dump");
  EXPECT_EQ(captured(L"missing\\").dumpJankResult.errorText, "Failed to create dump file");
  {
    const ImportPatch patch("GetThreadContext", &FailGetThreadContext);
    EXPECT_EQ(captured(folder.Prefix()).captureStackResult.errorText, "Failed to get thread context");
  }
  table_->EnumerateLoadedModulesW64 = &FailEnumeration;
  EXPECT_EQ(captured(folder.Prefix()).captureStackResult.errorText, "Failed to enum modules");
  table_->StackWalk64 = nullptr;
  EXPECT_EQ(captured(folder.Prefix()).captureStackResult.errorText, "Invalid dbghelp functions");

  testing_support::countedThread = GetCurrentThreadId();
  ::operator delete(::operator new(100));
  testing_support::countedThread = 0;
  EXPECT_EQ(heapCalls, 2) << "what is counted at all";
  end.set_value();
  target.join();
}
