#include "lifecycle/mark_freshness.h"

#include <gtest/gtest.h>

#include <cstdint>

using lifecycle::IsFresh;
using lifecycle::ToUnixMilliseconds;

namespace {

constexpr int64_t kSixtyDays = int64_t{60} * 24 * 60 * 60 * 1000;

FILETIME TicksSince1970(int64_t ticks) {
  const auto all = static_cast<uint64_t>(ticks + 116'444'736'000'000'000);
  return {.dwLowDateTime = static_cast<DWORD>(all), .dwHighDateTime = static_cast<DWORD>(all >> 32)};
}

}  // namespace

TEST(MarkFreshness, ExcludesBothEnds) {
  const int64_t now = 1'700'000'000'000;
  EXPECT_FALSE(IsFresh(now + 1, now));
  EXPECT_FALSE(IsFresh(now, now));
  EXPECT_TRUE(IsFresh(now - 1, now));
  EXPECT_TRUE(IsFresh(now - kSixtyDays + 1, now));
  EXPECT_FALSE(IsFresh(now - kSixtyDays, now));
}

TEST(MarkFreshness, WrapsAroundWhereTheSumHasNoRoom) {
  constexpr int64_t kMin = INT64_MIN;
  constexpr int64_t kMax = INT64_MAX;
  // In constant expressions an overflow would not compile.
  static_assert(!IsFresh(kMax - 1, kMax), "the end lies before the beginning");
  static_assert(!IsFresh(kMax, 0) && !IsFresh(kMin, 0));
  static_assert(IsFresh(kMin, kMin + 1) && IsFresh(kMax - kSixtyDays, kMax - 1));
}

TEST(MarkFreshness, CountsMillisecondsAndTruncatesTowardZero) {
  SYSTEMTIME moment{};
  moment.wYear = 2023;
  moment.wMonth = 11;
  moment.wDay = 14;
  moment.wHour = 22;
  moment.wMinute = 13;
  moment.wSecond = 20;
  moment.wMilliseconds = 123;
  FILETIME time{};
  ASSERT_TRUE(SystemTimeToFileTime(&moment, &time));
  EXPECT_EQ(ToUnixMilliseconds(time), 1'700'000'000'123);
  EXPECT_EQ(ToUnixMilliseconds(TicksSince1970(19'999)), 1);
  EXPECT_EQ(ToUnixMilliseconds(TicksSince1970(-9'999)), 0);
  EXPECT_EQ(ToUnixMilliseconds(TicksSince1970(-10'000)), -1);
}
