#pragma once

#include <windows.h>

#include <memory_resource>
#include <string>

namespace jank {

/// Writes a small minidump of a process to `path`, in place of a file of that name, and marks `threadId` in it as the
/// thread that stalled. Returns whether that succeeded; else `errorText` says why, and a partly written file stays.
///
/// The caller holds the DbgHelp call lock. Runs while a thread is frozen: of itself it takes nothing from the process
/// heap (give `errorText` memory of its own). What the system does to create a file, and what DbgHelp does to write the
/// dump, is out of its hands: both may use the heap.
bool WriteMiniDump(const std::wstring& path, HANDLE process, DWORD processId, DWORD threadId,
                   std::pmr::string& errorText);

}  // namespace jank
