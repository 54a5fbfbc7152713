#pragma once

#include <windows.h>

#include <cstddef>
#include <string>

namespace bench {

/// These replace the module's imports of SuspendThread and ResumeThread (run.js). They note the time before the thread
/// is suspended and after it has been resumed.
extern "C" __declspec(dllexport) DWORD WINAPI NoteSuspend(HANDLE thread);
extern "C" __declspec(dllexport) DWORD WINAPI NoteResume(HANDLE thread);

/// How long the module's latest capture kept its thread frozen, in nanoseconds.
double LatestFrozenTime();

struct BareCapture {
  /// How long the thread was frozen; 0 when a call failed.
  double nanoseconds = 0;
  /// How many frames its stack has, to check that the two sides did the same.
  size_t frames = 0;
};

/// Suspends a thread of another process, dumps the process to `path`, enumerates its modules, walks the thread's stack
/// and resumes it. Around the bare calls there are only containers for their results. Uses the module's own DbgHelp
/// table, so the module must be loaded and no capture under way.
BareCapture CaptureBare(DWORD processId, DWORD threadId, const std::wstring& path);

}  // namespace bench
