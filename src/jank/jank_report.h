#pragma once

#include <string>

#include "jank/capture_records.h"

namespace jank {

/// The report's text: one compact JSON object with its members in alphabetical order, no byte-order mark, no final line
/// break. Text that is not valid UTF-8 (a module name in the ANSI code page may be such) has its invalid bytes replaced
/// by U+FFFD; valid text stands as it is.
std::string MakeJankReport(const CaptureJankArgs& args, const std::string& dumpFileName, const std::string& stackTrace);

/// Writes the report of a capture into the jank directory, in place of one of the same name: "DUMPNAME-THREADID.json",
/// the dump's ".dmp" included. Sets the result's `jsonFilename`, or its `errorText` when that fails. Any thread; no
/// lock needs to be held, and none should be.
void WriteJankReport(const CaptureJankArgs& args, const std::string& dumpFileName, CaptureJankResult& result);

}  // namespace jank
