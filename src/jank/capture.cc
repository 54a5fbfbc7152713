#include "jank/capture.h"

#include <windows.h>

#include <mutex>
#include <string>

#include "jank/dbghelp_functions.h"
#include "jank/dump_name.h"
#include "jank/frozen_memory.h"
#include "jank/jank_report.h"
#include "jank/minidump.h"
#include "jank/stack_walk.h"
#include "win/text.h"
#include "win/unique_resource.h"

namespace jank {

namespace {

static_assert(PROCESS_ALL_ACCESS == 0x1FFFFF && THREAD_ALL_ACCESS == 0x1FFFFF);

/// The DbgHelp call lock in the form that std::lock_guard takes.
class DbgHelpLock {
 public:
  explicit DbgHelpLock(const DbgHelpFunctions& dbgHelp) : dbgHelp_(dbgHelp) {}
  void lock() { dbgHelp_.Lock(); }
  void unlock() { dbgHelp_.Unlock(); }

 private:
  const DbgHelpFunctions& dbgHelp_;
};

/// DbgHelp's symbol handler for the target, stopped by the destructor where Stop() has not been called.
class SymbolHandler {
 public:
  SymbolHandler(const DbgHelpFunctions& dbgHelp, HANDLE process) : dbgHelp_(dbgHelp), process_(process) {
    DbgHelpLock lock(dbgHelp_);
    const std::lock_guard guard(lock);
    started_ = dbgHelp_.SymInitialize(process_, nullptr, /*fInvadeProcess=*/TRUE) != FALSE;
  }
  ~SymbolHandler() { Stop(); }
  SymbolHandler(const SymbolHandler&) = delete;
  SymbolHandler& operator=(const SymbolHandler&) = delete;

  explicit operator bool() const { return started_; }

  /// Returns whether the handler is stopped now.
  bool Stop() {
    if (!started_) return true;
    started_ = false;
    DbgHelpLock lock(dbgHelp_);
    const std::lock_guard guard(lock);
    return dbgHelp_.SymCleanup(process_) != FALSE;
  }

 private:
  const DbgHelpFunctions& dbgHelp_;
  const HANDLE process_;
  bool started_ = false;
};

/// A suspended thread, resumed exactly once: by Resume(), or by the destructor on any path that does not get there.
class ThreadSuspension {
 public:
  explicit ThreadSuspension(HANDLE thread) : thread_(thread), suspended_(SuspendThread(thread) != kFailed) {}
  ~ThreadSuspension() { Resume(); }
  ThreadSuspension(const ThreadSuspension&) = delete;
  ThreadSuspension& operator=(const ThreadSuspension&) = delete;

  explicit operator bool() const { return suspended_; }

  /// Returns whether the thread has been resumed.
  bool Resume() {
    if (!suspended_) return true;
    suspended_ = false;
    return ResumeThread(thread_) != kFailed;
  }

 private:
  static constexpr DWORD kFailed = 0xFFFFFFFF;

  const HANDLE thread_;
  bool suspended_;
};

DumpNameState& SharedDumpNames() {
  static DumpNameState names;
  return names;
}

/// What a thread is frozen with: made before, found out meanwhile, and freed after the call lock has been left, because
/// a thread that could not be resumed may hold the heap's lock.
struct FrozenWork {
  explicit FrozenWork(FrozenMemory& memory) : dumpError(&memory), stackTrace(&memory), walkError(&memory) {}

  std::wstring dumpPath;
  std::string nameToPublish;

  bool dumped = false;
  bool resumed = false;
  std::pmr::string dumpError;
  std::pmr::string stackTrace;
  std::pmr::string walkError;
};

/// Suspends the thread, dumps, walks and resumes; false when the thread cannot be suspended, and then nothing else has
/// been done. The order of the steps, and that all memory is at hand before the first of them, is the design. The
/// caller holds the DbgHelp call lock.
bool WorkFrozen(const CaptureJankArgs& args, HANDLE process, HANDLE thread, const DumpNameChoice& choice,
                FrozenWork& frozen) {
  frozen.dumpPath = args.janksDir + win::AnsiToWide(choice.name);
  frozen.nameToPublish = choice.name;

  ThreadSuspension suspension(thread);
  if (!suspension) return false;
  if (choice.reuse) {
    frozen.dumped = true;
  } else {
    frozen.dumped = WriteMiniDump(frozen.dumpPath, process, args.processId, args.threadId, frozen.dumpError);
    SharedDumpNames().Publish(frozen.nameToPublish, frozen.dumped);
  }
  frozen.stackTrace = WalkThreadStack(process, thread, frozen.walkError);
  frozen.resumed = suspension.Resume();
  return true;
}

void CaptureThread(const DbgHelpFunctions& dbgHelp, const CaptureJankArgs& args, HANDLE process,
                   CaptureJankResult& result) {
  const win::UniqueHandle thread(OpenThread(THREAD_ALL_ACCESS, FALSE, args.threadId));
  if (!thread) {
    result.errorText = "Failed open thread";
    return;
  }
  DumpNameChoice choice = SharedDumpNames().FirstLook();
  FrozenMemory memory;
  FrozenWork frozen(memory);
  bool suspended = false;
  {
    DbgHelpLock lock(dbgHelp);
    const std::lock_guard guard(lock);
    SharedDumpNames().SecondLook(choice);
    suspended = WorkFrozen(args, process, thread.Get(), choice, frozen);
  }
  if (!suspended) {
    result.errorText = "Failed suspend thread";
    return;
  }
  if (!frozen.resumed) result.errorText = "Failed resume thread";
  result.dumpJankResult.succ = frozen.dumped;
  result.dumpJankResult.errorText = frozen.dumpError;
  result.captureStackResult.stackTrace = frozen.stackTrace;
  result.captureStackResult.errorText = frozen.walkError;
  WriteJankReport(args, choice.name, result);
}

}  // namespace

void RunCapture(const CaptureJankArgs& args, CaptureJankResult& result) {
  const DbgHelpFunctions* const dbgHelp = GetDbgHelpFunctions();
  if (!dbgHelp || !dbgHelp->Lock || !dbgHelp->Unlock || !dbgHelp->SymInitialize || !dbgHelp->SymCleanup) {
    result.errorText = "Invalid dbghelp functions";
    return;
  }
  const win::UniqueHandle process(OpenProcess(PROCESS_ALL_ACCESS, FALSE, args.processId));
  if (!process) {
    result.errorText = "Failed open process";
    return;
  }
  SymbolHandler symbols(*dbgHelp, process.Get());
  if (!symbols) {
    result.errorText = "Failed to init dbghelp";
    return;
  }
  CaptureThread(*dbgHelp, args, process.Get(), result);
  if (!symbols.Stop()) result.errorText = "Failed to cleanup dbghelp";
}

}  // namespace jank
