#pragma once

#include <string>

#include "jank/capture_records.h"

namespace jank {

/// Writes the report of a capture into the client's directory, in place of an existing one. The file's name, for
/// example "2024-03-05 14-07-09.dmp-1234.json", is made of the dump's name with its ".dmp", "-", the thread's id and
/// ".json". The file is one JSON object in UTF-8, without a byte-order mark or a final line break; docs/jank-report.md
/// describes its members.
///
/// Reads the result's `stackTrace`. Sets its `jsonFilename`, or its `errorText` if the report cannot be written. Throws
/// std::bad_alloc. Any thread; call it without holding a lock.
void WriteJankReport(const CaptureJankArgs& args, const std::string& dumpFileName, CaptureJankResult& result);

}  // namespace jank
