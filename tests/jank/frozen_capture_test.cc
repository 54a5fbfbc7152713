// Nothing of this module's own may come from the process heap while a thread is frozen.

#include <gtest/gtest.h>

#include <windows.h>

#include <atomic>
#include <cstdlib>
#include <memory>
#include <thread>
#include <vector>

#include "jank/capture.h"
#include "jank/dbghelp_functions.h"
#include "jank/frozen_memory.h"
#include "support/import_patch.h"
#include "support/temp_folder.h"

using testing_support::ImportPatch;
using testing_support::RealFunction;
using testing_support::TempFolder;

namespace {

#ifdef _MSC_VER
// The static run-time library is a part of the program; its heap calls go to the system.
auto* const realMalloc = RealFunction<decltype(HeapAlloc)>(L"kernel32.dll", "HeapAlloc");
auto* const realRealloc = RealFunction<decltype(HeapReAlloc)>(L"kernel32.dll", "HeapReAlloc");
auto* const realFree = RealFunction<decltype(HeapFree)>(L"kernel32.dll", "HeapFree");
#else
auto* const realMalloc = RealFunction<decltype(malloc)>(L"msvcrt.dll", "malloc");
auto* const realCalloc = RealFunction<decltype(calloc)>(L"msvcrt.dll", "calloc");
auto* const realRealloc = RealFunction<decltype(realloc)>(L"msvcrt.dll", "realloc");
auto* const realFree = RealFunction<decltype(free)>(L"msvcrt.dll", "free");
#endif
auto* const realSuspend = RealFunction<decltype(SuspendThread)>(L"kernel32.dll", "SuspendThread");
auto* const realResume = RealFunction<decltype(ResumeThread)>(L"kernel32.dll", "ResumeThread");

/// The thread whose heap calls are counted now. No thread_local: its first use in a thread calls the heap itself.
std::atomic<DWORD> counted = 0;
std::atomic<int> heapCalls = 0;
std::atomic<int> freezes = 0;

void Count() {
  if (counted == GetCurrentThreadId()) ++heapCalls;
}
#ifdef _MSC_VER
LPVOID WINAPI CountMalloc(HANDLE heap, DWORD flags, SIZE_T size) {
  Count();
  return realMalloc(heap, flags, size);
}
LPVOID WINAPI CountRealloc(HANDLE heap, DWORD flags, LPVOID block, SIZE_T size) {
  Count();
  return realRealloc(heap, flags, block, size);
}
BOOL WINAPI CountFree(HANDLE heap, DWORD flags, LPVOID block) {
  Count();
  return realFree(heap, flags, block);
}
#else
void* CountMalloc(size_t size) {
  Count();
  return realMalloc(size);
}
void* CountCalloc(size_t count, size_t size) {
  Count();
  return realCalloc(count, size);
}
void* CountRealloc(void* block, size_t size) {
  Count();
  return realRealloc(block, size);
}
void CountFree(void* block) {
  Count();
  realFree(block);
}
#endif
DWORD WINAPI CountFromSuspend(HANDLE thread) {
  const DWORD result = realSuspend(thread);
  counted = GetCurrentThreadId();
  ++freezes;
  return result;
}
DWORD WINAPI CountUntilResume(HANDLE thread) {
  counted = 0;
  return realResume(thread);
}

/// Counts this program's heap calls between suspend and resume.
class HeapCount {
 public:
  HeapCount() {
    heapCalls = 0;
    freezes = 0;
  }

 private:
#ifdef _MSC_VER
  const ImportPatch malloc_{"HeapAlloc", &CountMalloc};
  const ImportPatch realloc_{"HeapReAlloc", &CountRealloc};
  const ImportPatch free_{"HeapFree", &CountFree};
#else
  const ImportPatch malloc_{"malloc", &CountMalloc};
  const ImportPatch calloc_{"calloc", &CountCalloc};
  const ImportPatch realloc_{"realloc", &CountRealloc};
  const ImportPatch free_{"free", &CountFree};
#endif
  const ImportPatch suspend_{"SuspendThread", &CountFromSuspend};
  const ImportPatch resume_{"ResumeThread", &CountUntilResume};
};

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

/// A thread of this process that does `work` again and again until the end of the scope.
template <typename Work>
class BusyThread {
 public:
  explicit BusyThread(Work work)
      : thread_([this, work] {
          id_ = GetCurrentThreadId();
          while (!stop_)
            work();
        }) {
    while (id_ == 0)
      SwitchToThread();
  }
  ~BusyThread() {
    stop_ = true;
    thread_.join();
  }
  BusyThread(const BusyThread&) = delete;
  BusyThread& operator=(const BusyThread&) = delete;
  DWORD Id() const { return id_; }

 private:
  std::atomic<bool> stop_ = false;
  std::atomic<DWORD> id_ = 0;
  std::thread thread_;
};

}  // namespace

TEST_F(FrozenCapture, TakesNothingFromTheHeapWhateverHappens) {
  const TempFolder folder;
  const BusyThread target([] { Sleep(1); });
  const auto captured = [&](const std::wstring& janksDir) {
    const HeapCount count;
    auto result = Capture(target.Id(), janksDir);
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
  *table_ = saved_;
  EXPECT_TRUE(captured(folder.Prefix()).dumpJankResult.succ) << "the real DbgHelp has a heap of its own accord";
}

TEST_F(FrozenCapture, TheCountSeesAHeapCall) {
  const HeapCount count;
  counted = GetCurrentThreadId();
  ::operator delete(::operator new(100));
  counted = 0;
  EXPECT_EQ(heapCalls, 2);
}

TEST_F(FrozenCapture, NeverHangsOnAThreadThatIsStoppedWithTheHeapLockHeld) {
  const TempFolder folder;
  const BusyThread target([] {
    std::vector<std::unique_ptr<char[]>> blocks;
    for (size_t size = 1; size < 2000; size *= 2)
      blocks.push_back(std::make_unique<char[]>(size));
  });
  // A second capture chooses its dump's name, and so uses the heap, while the first one has the thread frozen.
  const auto captureOften = [&] {
    for (int capture = 0; capture < 200; ++capture) {
      EXPECT_FALSE(Capture(target.Id(), folder.Prefix()).captureStackResult.stackTrace.empty());
    }
  };
  std::thread second(captureOften);
  captureOften();
  second.join();
}
