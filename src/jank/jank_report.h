#pragma once

#include <string>

#include "jank/capture_records.h"

namespace jank {

/// Writes the report of a capture into the client's directory, in place of an existing one: "DUMPNAME-THREADID.json",
/// with the ".dmp" of the dump's name. The file is one JSON object in UTF-8, without a byte-order mark or a final line
/// break; docs/jank-report.md describes its members.
///
/// Reads the result's `stackTrace` and sets its `jsonFilename`, or its `errorText` if that fails. Throws
/// std::bad_alloc. Any thread; no lock needs to be held, and none should be.
void WriteJankReport(const CaptureJankArgs& args, const std::string& dumpFileName, CaptureJankResult& result);

}  // namespace jank
