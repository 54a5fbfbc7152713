#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace jank {

/// Writes a small minidump of a process to `path`, in place of an existing file, and marks `threadId` in it as the
/// thread that stalled. Returns whether that succeeded. If not, `errorText` says why, and a partly written file stays.
///
/// The caller holds the DbgHelp call lock. No heap.
bool WriteMiniDump(const std::wstring& path, HANDLE process, DWORD processId, DWORD threadId,
                   std::string_view& errorText);

}  // namespace jank
