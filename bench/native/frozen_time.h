#pragma once

#include <windows.h>

#include <string>

namespace bench {

/// Makes the module note when it suspends and when it has resumed a thread, by its import table. Once.
void WatchFrozenTime();

/// How long the module's latest capture kept its thread frozen, in nanoseconds.
double LatestFrozenTime();

/// Suspends a thread of another process, dumps the process to `path`, enumerates its modules, walks the thread's stack
/// and resumes it, with nothing around the bare calls but an owner for what they find. Returns how long the thread was
/// frozen, in nanoseconds, and 0 when a call failed. Uses the module's own DbgHelp table, so the module must be loaded
/// and no capture under way.
double BareFrozenTime(DWORD processId, DWORD threadId, const std::wstring& path);

}  // namespace bench
