#include "jank/capture.h"

#include <windows.h>

#include <string>

#include "jank/dbghelp_functions.h"
#include "jank/dbghelp_guard.h"
#include "jank/dump_name.h"
#include "jank/frozen_memory.h"
#include "jank/jank_report.h"
#include "jank/minidump.h"
#include "jank/stack_walk.h"
#include "jank/symbol_handler.h"
#include "jank/thread_suspension.h"
#include "win/text.h"
#include "win/unique_resource.h"

namespace jank {

namespace {

/// The width of these rights depends on _WIN32_WINNT.
static_assert(PROCESS_ALL_ACCESS == 0x1FFFFF && THREAD_ALL_ACCESS == 0x1FFFFF);

DumpNameState& SharedDumpNames() {
  static DumpNameState names;
  return names;
}

/// What the frozen time works with and leaves behind. Made before the freeze. Freed only after the call lock has been
/// left: a thread that could not be resumed may hold the heap's lock for ever, and freeing under the call lock would
/// then block every later capture too.
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
    const DbgHelpGuard guard(dbgHelp);
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
