#pragma once

#include <cstdint>
#include <string>
#include <tuple>

namespace jank {

/// The client's request. Narrow strings are UTF-8.
struct CaptureJankArgs {
  /// The process to capture and its stalled thread.
  uint32_t processId = 0;
  uint32_t threadId = 0;
  /// The kind of stall in the client's own words.
  std::string jankType;
  /// The directory for the dump and the report. File names are appended without a separator, so it must end with a
  /// backslash.
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

template <typename Value>
struct CaptureField {
  /// The property of the script object.
  const char* property;
  /// The member of the report, or null if the report does not have this part.
  const char* reportMember;
  Value CaptureJankArgs::* value;
};

/// All parts of the request, in the order in which the properties are read. Script can see that order by getters.
inline constexpr std::tuple kCaptureFields{
    CaptureField{"processId", nullptr, &CaptureJankArgs::processId},
    CaptureField{"threadId", nullptr, &CaptureJankArgs::threadId},
    CaptureField{"jankType", "jank_type", &CaptureJankArgs::jankType},
    CaptureField{"janksDir", nullptr, &CaptureJankArgs::janksDir},
    CaptureField{"userId", "user_id", &CaptureJankArgs::userId},
    CaptureField{"deviceId", "device_id", &CaptureJankArgs::deviceId},
    CaptureField{"version", "version", &CaptureJankArgs::version},
    CaptureField{"systemVersion", "system_version", &CaptureJankArgs::systemVersion},
    CaptureField{"logFilename", "log_file", &CaptureJankArgs::logFilename},
    CaptureField{"living", "living", &CaptureJankArgs::living},
    CaptureField{"uptime", "uptime", &CaptureJankArgs::uptime},
    CaptureField{"duration", "duration", &CaptureJankArgs::duration},
};

struct DumpJankResult {
  /// Whether a dump exists for this capture, written by it or shared with another one.
  bool succ = false;
  /// Why the dump failed; empty if it did not.
  std::string errorText;
};

struct CaptureStackResult {
  /// The stalled thread's stack, one line for each frame, innermost first; empty if the walk failed.
  std::string stackTrace;
  /// Why the walk failed; empty if it did not.
  std::string errorText;
};

/// The outcome of a capture. A fresh record describes a capture that failed at its first step; only the error text is
/// missing.
struct CaptureJankResult {
  /// The report's file name without its directory; empty if no report was written.
  std::string jsonFilename;
  DumpJankResult dumpJankResult;
  CaptureStackResult captureStackResult;
  /// The last error of the capture as a whole; empty if there was none.
  std::string errorText;
};

}  // namespace jank
