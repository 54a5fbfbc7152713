#include "jank/jank_report.h"

#include <windows.h>

#include <nlohmann/json.hpp>

#include "jank/output_file.h"
#include "win/text.h"

namespace jank {

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
  const auto serialise = [&report](nlohmann::json::error_handler_t onInvalidUtf8) {
    return report.dump(/*indent=*/-1, /*indent_char=*/' ', /*ensure_ascii=*/false, onInvalidUtf8);
  };
  try {
    return serialise(nlohmann::json::error_handler_t::strict);
  } catch (const nlohmann::json::type_error&) {
    return serialise(nlohmann::json::error_handler_t::replace);
  }
}

void WriteJankReport(const CaptureJankArgs& args, const std::string& dumpFileName, CaptureJankResult& result) {
  // The dump's ".dmp" stays inside the name: deliberate, the client finds a report's dump by it.
  const std::string fileName = dumpFileName + "-" + std::to_string(args.threadId) + ".json";
  const win::UniqueFile file = CreateOutputFile(args.janksDir + win::AnsiToWide(fileName));
  if (!file) {
    result.errorText = "Failed to create json file";
    return;
  }
  const std::string text = MakeJankReport(args, dumpFileName, result.captureStackResult.stackTrace);
  if (WriteFile(file.Get(), text.data(), static_cast<DWORD>(text.size()), nullptr, nullptr)) {
    result.jsonFilename = fileName;
  } else {
    result.errorText = "Failed to write json file";
  }
}

}  // namespace jank
