#include "jank/jank_report.h"

#include <windows.h>

#include <nlohmann/json.hpp>

#include <tuple>
#include <utility>

#include "jank/output_file.h"
#include "win/text.h"

namespace jank {

namespace {

template <typename Value>
void AddMember(nlohmann::json& report, const CaptureJankArgs& args, const CaptureField<Value>& field) {
  if (field.reportMember) report[field.reportMember] = args.*field.value;
}

/// The directory is not a member of the report, because the report's own path contains it.
void AddMember(nlohmann::json&, const CaptureJankArgs&, const CaptureField<std::wstring>&) {}

/// The report as one compact JSON object, with its members in alphabetical order. Bytes that are not valid UTF-8 are
/// replaced by U+FFFD: a module's name in the ANSI code page may have some.
std::string MakeJankReport(const CaptureJankArgs& args, const std::string& dumpFileName,
                           const std::string& stackTrace) {
  nlohmann::json report = {{"main_thread_trace", stackTrace}, {"dmp_file", dumpFileName}};
  std::apply([&](const auto&... fields) { (AddMember(report, args, fields), ...); }, kCaptureFields);
  return report.dump(/*indent=*/-1, /*indent_char=*/' ', /*ensure_ascii=*/false,
                     nlohmann::json::error_handler_t::replace);
}

}  // namespace

void WriteJankReport(const CaptureJankArgs& args, const std::string& dumpFileName, CaptureJankResult& result) {
  // Compatibility: the dump's ".dmp" stays inside the name.
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
