#include "jank/jank_report.h"

#include <gtest/gtest.h>

#include "support/temp_folder.h"

using testing_support::ReadBytes;
using testing_support::TempFolder;

namespace {

jank::CaptureJankArgs Args(const std::wstring& janksDir = L"") {
  return {.processId = 1,
          .threadId = 10344,
          .jankType = "main \"thread\"",
          .janksDir = janksDir,
          .userId = "\xe7\x94\xa8\xe6\x88\xb7",
          .deviceId = "d",
          .version = "5.1",
          .systemVersion = "10 22H2",
          .logFilename = "a\\b.log",
          .living = true,
          .uptime = 12,
          .duration = 1500};
}

constexpr char kExpected[] =
    "{\"device_id\":\"d\",\"dmp_file\":\"x.dmp\",\"duration\":1500,\"jank_type\":\"main \\\"thread\\\"\","
    "\"living\":true,\"log_file\":\"a\\\\b.log\",\"main_thread_trace\":\"ntdll.dll!0x9d4e4\\r\\n\","
    "\"system_version\":\"10 22H2\",\"uptime\":12.0,\"user_id\":\"\xe7\x94\xa8\xe6\x88\xb7\",\"version\":\"5.1\"}";

jank::CaptureJankResult Write(const std::wstring& janksDir) {
  jank::CaptureJankResult result;
  result.captureStackResult.stackTrace = "ntdll.dll!0x9d4e4\r\n";
  result.errorText = "earlier";
  jank::WriteJankReport(Args(janksDir), "x.dmp", result);
  return result;
}

}  // namespace

TEST(JankReport, ReplacesInvalidUtf8InsteadOfEndingTheProcess) {
  const std::string text = jank::MakeJankReport(Args(), "x.dmp", "\xc4\xfc.dll!0x1\r\n");
  EXPECT_NE(text.find("\"main_thread_trace\":\"\xef\xbf\xbd\xef\xbf\xbd.dll!0x1\\r\\n\""), std::string::npos) << text;
  EXPECT_NE(text.find("\"user_id\":\"\xe7\x94\xa8\xe6\x88\xb7\""), std::string::npos) << "valid text stays";
}

TEST(JankReport, IsWrittenUnderTheDumpsNameAndReplacesAnOlderOne) {
  const TempFolder folder(L" \u76f4\u64ad");
  const std::filesystem::path file = folder.Path() / "x.dmp-10344.json";
  std::ofstream(file) << std::string(5000, 'o');
  const auto result = Write(folder.Prefix());
  EXPECT_EQ(result.jsonFilename, "x.dmp-10344.json");
  EXPECT_EQ(result.errorText, "earlier");
  EXPECT_EQ(ReadBytes(file), kExpected);
}

TEST(JankReport, SaysThatTheFileCannotBeCreated) {
  const TempFolder folder;
  std::filesystem::create_directory(folder.Path() / "x.dmp-10344.json");
  std::ofstream(folder.Path() / "victim") << "keep";
  const std::wstring embeddedNul = folder.Prefix() + L"victim" + std::wstring(1, L'\0');
  for (const std::wstring& janksDir : {folder.Prefix(), folder.Prefix() + L"missing\\", embeddedNul}) {
    const auto result = Write(janksDir);
    EXPECT_EQ(result.errorText, "Failed to create json file");
    EXPECT_EQ(result.jsonFilename, "");
  }
  EXPECT_EQ(ReadBytes(folder.Path() / "victim"), "keep");
}

TEST(JankReport, LandsBesideADirectoryThatLacksItsBackslash) {
  const TempFolder folder;
  EXPECT_EQ(Write(folder.Prefix() + L"dir").jsonFilename, "x.dmp-10344.json");
  EXPECT_EQ(ReadBytes(folder.Path() / "dirx.dmp-10344.json"), kExpected);
}
