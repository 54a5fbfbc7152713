#pragma once

#include <cstdint>
#include <string>

namespace jank {

/// What the client asks for, in the order in which its script object is read. Narrow strings are UTF-8.
struct CaptureJankArgs {
  /// The process to capture and its stalled thread.
  uint32_t processId = 0;
  uint32_t threadId = 0;
  /// The kind of jank as the client names it.
  std::string jankType;
  /// Prefix of the paths of the dump and the report, used as it stands: it is expected to end with a backslash.
  std::wstring janksDir;
  std::string userId;
  std::string deviceId;
  std::string version;
  std::string systemVersion;
  std::string logFilename;
  bool living = false;
  double uptime = 0;
  uint32_t duration = 0;
};

struct DumpJankResult {
  /// Whether a dump exists for this capture, written by it or shared with another one.
  bool succ = false;
  /// Why the dump failed; empty when it did not.
  std::string errorText;
};

struct CaptureStackResult {
  /// The stalled thread's stack, one line a frame, innermost first; empty when the walk failed.
  std::string stackTrace;
  /// Why the walk failed; empty when it did not.
  std::string errorText;
};

/// What became of a capture. A fresh record is the complete record of a capture that failed at its first step.
struct CaptureJankResult {
  /// The report's file name without its directory; empty when no report was written.
  std::string jsonFilename;
  DumpJankResult dumpJankResult;
  CaptureStackResult captureStackResult;
  /// The last error of the capture as a whole; empty when there was none.
  std::string errorText;
};

}  // namespace jank
