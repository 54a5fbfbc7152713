#include "jank/jank_report.h"

#include <windows.h>

#include <nlohmann/json.hpp>

#include <utility>

#include "jank/output_file.h"
#include "win/text.h"

namespace jank {

namespace {

/// The report as one compact JSON object, with its members in alphabetical order. Bytes that are not valid UTF-8 are
/// replaced by U+FFFD: a module's name in the ANSI code page may have some.
std::string MakeJankReport(const CaptureJankArgs& args, const std::string& dumpFileName,
                           const std::string& stackTrace) {
  const nlohmann::json report = {
      {"jank_type", args.jankType},
      {"user_id", args.userId},
      {"device_id", args.deviceId},
      {"version", args.version},
      {"system_version", args.systemVersion},
      {"main_thread_trace", stackTrace},
      {"dmp_file", dumpFileName},
      {"log_file", args.logFilename},
      {"living", args.living},
      {"uptime", args.uptime},
      {"duration", args.duration},
  };
  return report.dump(/*indent=*/-1, /*indent_char=*/' ', /*ensure_ascii=*/false,
                     nlohmann::json::error_handler_t::replace);
}

}  // namespace

void WriteJankReport(const CaptureJankArgs& args, const std::string& dumpFileName, CaptureJankResult& result) {
  // Compatibility: the dump's ".dmp" stays inside the name. The client finds a report's dump by it.
  std::string fileName = dumpFileName + "-" + std::to_string(args.threadId) + ".json";
  const win::UniqueFile file = CreateOutputFile(args.janksDir + win::AnsiToWide(fileName));
  if (!file) {
    result.errorText = "Failed to create json file";
    return;
  }
  const std::string text = MakeJankReport(args, dumpFileName, result.captureStackResult.stackTrace);
  if (WriteFile(file.Get(), text.data(), static_cast<DWORD>(text.size()), nullptr, nullptr)) {
    result.jsonFilename = std::move(fileName);
  } else {
    result.errorText = "Failed to write json file";
  }
}

}  // namespace jank
