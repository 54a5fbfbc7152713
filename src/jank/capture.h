#pragma once

#include "jank/capture_records.h"

namespace jank {

/// Runs one capture: freezes the stalled thread, writes a minidump of its process (or shares the dump of a capture that
/// overlaps), walks the thread's stack, resumes the thread, and writes the report beside the dump. Stores the outcome
/// in `result`, which the caller passes fresh.
///
/// The thread is frozen only for the dump, the module enumeration and the walk. It is resumed on every path. While it
/// is frozen, this module itself takes nothing from the process heap, because the thread may belong to this very
/// process and hold the heap's lock. But Windows may use the heap to create the dump file, and DbgHelp to write it, to
/// enumerate the modules and to walk.
///
/// Any thread, several at once: captures take turns on the DbgHelp call lock. A capture of the calling thread itself
/// fails. Throws std::bad_alloc, with nothing left frozen, locked or open.
void RunCapture(const CaptureJankArgs& args, CaptureJankResult& result);

}  // namespace jank
