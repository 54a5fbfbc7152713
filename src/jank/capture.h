#pragma once

#include "jank/capture_records.h"

namespace jank {

/// Runs one capture: freezes the stalled thread, writes a minidump of its process (or shares the dump of a capture that
/// overlaps), walks the thread's stack, resumes the thread, and writes the report beside the dump. Stores the outcome
/// in `result`, which the caller passes fresh.
///
/// The thread is frozen only for the dump, the module enumeration and the walk, and is resumed on every path. While it
/// is frozen: No heap.
///
/// Any thread, several at once: captures take turns on the DbgHelp call lock. A capture of the calling thread itself
/// fails. Throws std::bad_alloc, with nothing left frozen, locked or open.
void RunCapture(const CaptureJankArgs& args, CaptureJankResult& result);

}  // namespace jank
