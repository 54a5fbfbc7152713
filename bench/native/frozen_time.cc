#include "native/frozen_time.h"

#include <atomic>
#include <chrono>
#include <vector>

#include "jank/dbghelp_functions.h"
#include "win/get_function.h"
#include "win/unique_resource.h"

namespace bench {

namespace {

using std::chrono::steady_clock;
using Nanoseconds = std::chrono::duration<double, std::nano>;

steady_clock::time_point suspendedAt;
std::atomic<Nanoseconds> frozenTime{};

struct Module {
  std::wstring path;
  DWORD64 base;
  ULONG size;
};

BOOL CALLBACK AddModule(PCWSTR path, DWORD64 base, ULONG size, PVOID modules) {
  static_cast<std::vector<Module>*>(modules)->push_back({path, base, size});
  return TRUE;
}

bool Dump(const DbgHelpFunctions& dbgHelp, HANDLE process, DWORD processId, DWORD threadId, const std::wstring& path) {
  const win::UniqueFile file(CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_WRITE, nullptr, CREATE_ALWAYS,
                                         FILE_ATTRIBUTE_NORMAL, nullptr));
  MINIDUMP_EXCEPTION_INFORMATION stalled{};
  stalled.ThreadId = threadId;
  // The same type as in src/jank/minidump.cc.
  constexpr auto kType = static_cast<MINIDUMP_TYPE>(0x1920);
  return dbgHelp.MiniDumpWriteDump(process, processId, file.Get(), kType, &stalled, nullptr, nullptr) != FALSE;
}

/// The number of frames; 0 when a call failed.
size_t Walk(const DbgHelpFunctions& dbgHelp, HANDLE process, HANDLE thread) {
  std::vector<Module> modules;
  if (!dbgHelp.EnumerateLoadedModulesW64(process, &AddModule, &modules)) return 0;
  CONTEXT context{};
  context.ContextFlags = CONTEXT_ALL;
  if (!GetThreadContext(thread, &context)) return 0;
  STACKFRAME64 frame{};
  frame.AddrPC = {.Offset = context.Rip, .Segment = 0, .Mode = AddrModeFlat};
  frame.AddrFrame = {.Offset = context.Rbp, .Segment = 0, .Mode = AddrModeFlat};
  frame.AddrStack = {.Offset = context.Rsp, .Segment = 0, .Mode = AddrModeFlat};
  std::vector<DWORD64> counters;
  while (dbgHelp.StackWalk64(IMAGE_FILE_MACHINE_AMD64, process, thread, &frame, &context, nullptr,
                             dbgHelp.SymFunctionTableAccess64, dbgHelp.SymGetModuleBase64, nullptr)) {
    counters.push_back(frame.AddrPC.Offset);
  }
  return counters.size();
}

}  // namespace

extern "C" DWORD WINAPI NoteSuspend(HANDLE thread) {
  suspendedAt = steady_clock::now();
  return SuspendThread(thread);
}

extern "C" DWORD WINAPI NoteResume(HANDLE thread) {
  const DWORD result = ResumeThread(thread);
  frozenTime = steady_clock::now() - suspendedAt;
  return result;
}

double LatestFrozenTime() {
  return frozenTime.load().count();
}

BareCapture CaptureBare(DWORD processId, DWORD threadId, const std::wstring& path) {
  const DbgHelpFunctions& dbgHelp = *win::GetFunction<decltype(&GetDbgHelpFunctions)>(
      GetModuleHandleW(L"borvanta-util.node"), "GetDbgHelpFunctions")();
  const win::UniqueHandle process(OpenProcess(PROCESS_ALL_ACCESS, FALSE, processId));
  const win::UniqueHandle thread(OpenThread(THREAD_ALL_ACCESS, FALSE, threadId));
  dbgHelp.SymInitialize(process.Get(), nullptr, TRUE);

  const auto start = steady_clock::now();
  SuspendThread(thread.Get());
  const bool dumped = Dump(dbgHelp, process.Get(), processId, threadId, path);
  const size_t frames = Walk(dbgHelp, process.Get(), thread.Get());
  ResumeThread(thread.Get());
  const Nanoseconds frozen = steady_clock::now() - start;

  dbgHelp.SymCleanup(process.Get());
  return {.nanoseconds = dumped && frames > 0 ? frozen.count() : 0, .frames = frames};
}

}  // namespace bench
