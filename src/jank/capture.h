#pragma once

#include "jank/capture_records.h"

namespace jank {

/// Runs one capture: freezes the stalled thread, writes a minidump of its process (or shares the one that an
/// overlapping capture writes), walks the thread's stack, lets the thread run again, and writes the report beside the
/// dump. All outcome is in `result`, which comes in fresh.
///
/// The thread is frozen only for the dump, the module enumeration and the walk, and runs again on every path. While it
/// is frozen, nothing of this module's own is taken from the process heap, because the thread may belong to this very
/// process and hold the heap's lock; what the system does to create the dump file and what DbgHelp does may use the
/// heap. The capturing thread must not be the captured one.
///
/// Any thread but the captured one, several at once: they take turns on the DbgHelp call lock. Throws std::bad_alloc,
/// with nothing frozen, locked or open, and std::system_error when a mutex cannot be locked.
void RunCapture(const CaptureJankArgs& args, CaptureJankResult& result);

}  // namespace jank
