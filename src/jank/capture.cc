#include "jank/capture.h"

#include <windows.h>

#include <string>
#include <string_view>

#include "jank/capture_scopes.h"
#include "jank/dbghelp_functions.h"
#include "jank/dump_name.h"
#include "jank/jank_report.h"
#include "jank/minidump.h"
#include "jank/stack_walk.h"
#include "win/text.h"
#include "win/unique_resource.h"

namespace jank {

namespace {

/// The width of these rights depends on _WIN32_WINNT.
static_assert(PROCESS_ALL_ACCESS == 0x1FFFFF && THREAD_ALL_ACCESS == 0x1FFFFF);

constinit DumpNameState dumpNames;

/// The memory and the results of the work that is done while the thread is frozen. Freed only after the DbgHelp call
/// lock has been left: if the thread could not be resumed, it may hold the heap's lock for ever, and then freeing
/// memory waits for ever. With the call lock held, that would block every later capture too.
struct FrozenWork {
  std::wstring dumpPath;
  WalkMemory walkMemory;

  bool dumped = false;
  std::string_view dumpError;
  std::string_view stackTrace;
  std::string_view walkError;
  bool resumed = false;
};

/// Suspends the thread, writes the dump, walks the stack and resumes the thread. Returns false if the thread cannot be
/// suspended; then nothing has been written. The caller holds the DbgHelp call lock. While the thread is suspended: No
/// heap.
bool WorkFrozen(const CaptureJankArgs& args, HANDLE process, HANDLE thread, const DumpNameChoice& choice,
                FrozenWork& frozen) {
  frozen.dumpPath = args.janksDir + win::AnsiToWide(choice.name.text.data());

  ThreadSuspension suspension(thread);
  if (!suspension) return false;
  if (choice.reuse) {
    frozen.dumped = true;
  } else {
    frozen.dumped = WriteMiniDump(frozen.dumpPath, process, args.processId, args.threadId, frozen.dumpError);
    dumpNames.Publish(choice.name, frozen.dumped);
  }
  frozen.stackTrace = WalkThreadStack(process, thread, frozen.walkMemory, frozen.walkError);
  frozen.resumed = suspension.Resume();
  return true;
}

void CaptureThread(const DbgHelpFunctions& dbgHelp, const CaptureJankArgs& args, HANDLE process,
                   CaptureJankResult& result) {
  const win::UniqueHandle thread(OpenThread(THREAD_ALL_ACCESS, FALSE, args.threadId));
  // OpenThread opens a thread of any process, so the thread's process must be checked.
  if (!thread || GetProcessIdOfThread(thread.Get()) != GetProcessId(process)) {
    result.errorText = "Failed open thread";
    return;
  }
  FrozenWork frozen;
  // A thread that suspends itself would keep the call lock for ever.
  const bool isThisThread = GetThreadId(thread.Get()) == GetCurrentThreadId();
  if (isThisThread || !frozen.walkMemory) {
    result.errorText = "Failed suspend thread";
    return;
  }
  DumpNameChoice choice = dumpNames.Choose();
  bool suspended = false;
  {
    const DbgHelpGuard guard(dbgHelp);
    dumpNames.Confirm(choice);
    suspended = WorkFrozen(args, process, thread.Get(), choice, frozen);
  }
  if (!suspended) {
    result.errorText = "Failed suspend thread";
    return;
  }
  result.dumpJankResult.succ = frozen.dumped;
  if (!frozen.resumed) result.errorText = "Failed resume thread";
  result.dumpJankResult.errorText = frozen.dumpError;
  result.captureStackResult.stackTrace = frozen.stackTrace;
  result.captureStackResult.errorText = frozen.walkError;
  WriteJankReport(args, choice.name.text.data(), result);
}

}  // namespace

void RunCapture(const CaptureJankArgs& args, CaptureJankResult& result) {
  // Reserved now, so that setting an error text cannot fail for lack of memory later.
  constexpr size_t kLongestErrorText = 32;
  for (std::string* const text :
       {&result.errorText, &result.dumpJankResult.errorText, &result.captureStackResult.errorText}) {
    text->reserve(kLongestErrorText);
  }
  const DbgHelpFunctions* const dbgHelp = GetDbgHelpFunctions();
  // Other code may have overwritten the table.
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
