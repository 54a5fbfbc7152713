#include "jank/dump_name.h"

#include <gtest/gtest.h>

#include <ctime>
#include <regex>

using jank::DumpNameChoice;
using jank::DumpNameState;

namespace {

int made = 0;

std::string MakeNumberedName() {
  return "dump-" + std::to_string(++made);
}

/// A capture that gets as far as publishing.
void Publish(DumpNameState& state, const DumpNameChoice& choice, bool succeeded) {
  std::string name = choice.name;
  state.Publish(name, succeeded);
}

}  // namespace

TEST(DumpName, IsTheLocalTimeToTheSecond) {
  const std::time_t before = std::time(nullptr);
  const std::string name = jank::MakeDumpFileName();
  ASSERT_TRUE(std::regex_match(name, std::regex(R"(\d{4}-\d\d-\d\d \d\d-\d\d-\d\d\.dmp)"))) << name;
  std::tm fields{};
  fields.tm_year = std::stoi(name.substr(0, 4)) - 1900;
  fields.tm_mon = std::stoi(name.substr(5, 2)) - 1;
  fields.tm_mday = std::stoi(name.substr(8, 2));
  fields.tm_hour = std::stoi(name.substr(11, 2));
  fields.tm_min = std::stoi(name.substr(14, 2));
  fields.tm_sec = std::stoi(name.substr(17, 2));
  fields.tm_isdst = -1;
  const std::time_t named = std::mktime(&fields);
  EXPECT_GE(named, before);
  EXPECT_LE(named, before + 5);
}

TEST(DumpNameState, ACaptureThatWaitedForAFailedDumpWritesItsOwn) {
  DumpNameState state(&MakeNumberedName);
  const DumpNameChoice first = state.FirstLook();
  DumpNameChoice second = state.FirstLook();
  DumpNameChoice third = state.FirstLook();
  Publish(state, first, false);
  state.SecondLook(second);
  EXPECT_FALSE(second.reuse);
  EXPECT_NE(second.name, first.name);
  // The third waited for the first one's name, which the second one has superseded.
  Publish(state, second, true);
  state.SecondLook(third);
  EXPECT_FALSE(third.reuse);
  EXPECT_NE(third.name, second.name);
}

TEST(DumpNameState, ALaterCaptureDoesNotShareAFinishedDump) {
  DumpNameState state(&MakeNumberedName);
  const DumpNameChoice first = state.FirstLook();
  Publish(state, first, true);
  const DumpNameChoice second = state.FirstLook();
  EXPECT_FALSE(second.reuse);
  EXPECT_NE(second.name, first.name);
}

TEST(DumpNameState, HealsAfterACaptureThatNeverPublished) {
  DumpNameState state(&MakeNumberedName);
  const DumpNameChoice lost = state.FirstLook();
  DumpNameChoice next = state.FirstLook();
  EXPECT_TRUE(next.reuse);
  state.SecondLook(next);
  EXPECT_FALSE(next.reuse);
  EXPECT_NE(next.name, lost.name);
  Publish(state, next, true);
  EXPECT_FALSE(state.FirstLook().reuse);
}
