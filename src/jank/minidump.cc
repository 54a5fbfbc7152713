#include "jank/minidump.h"

#include "jank/dbghelp_functions.h"
#include "jank/output_file.h"

namespace jank {

namespace {

/// Without full memory and data segments, so that the dump stays small.
constexpr auto kDumpType = static_cast<MINIDUMP_TYPE>(MiniDumpWithUnloadedModules | MiniDumpWithProcessThreadData |
                                                      MiniDumpWithFullMemoryInfo | MiniDumpWithThreadInfo);

}  // namespace

bool WriteMiniDump(const std::wstring& path, HANDLE process, DWORD processId, DWORD threadId,
                   std::string_view& errorText) {
  const DbgHelpFunctions* const dbgHelp = GetDbgHelpFunctions();
  if (!dbgHelp || !dbgHelp->MiniDumpWriteDump) {
    errorText = "Invalid dbghelp functions";
    return false;
  }
  const win::UniqueFile file = CreateOutputFile(path);
  if (!file) {
    errorText = "Failed to create dump file";
    return false;
  }
  // There is no exception. The record only shows readers of the dump which thread stalled.
  MINIDUMP_EXCEPTION_INFORMATION stalled{};
  stalled.ThreadId = threadId;
  stalled.ExceptionPointers = nullptr;
  stalled.ClientPointers = FALSE;
  if (!dbgHelp->MiniDumpWriteDump(process, processId, file.Get(), kDumpType, &stalled, nullptr, nullptr)) {
    errorText = "Failed to write dump";
    return false;
  }
  return true;
}

}  // namespace jank
