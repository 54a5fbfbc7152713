#include "win/text.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <string>

using win::NarrowToWide;
using win::WideToNarrow;
using win::WideToUtf8;

TEST(Text, ConvertsBeyondTheBasicPlaneBothWays) {
  const std::wstring wide = L"a\u00e4\u4e2d\xd83d\xde00";
  const std::string utf8 = "a\xc3\xa4\xe4\xb8\xad\xf0\x9f\x98\x80";
  EXPECT_EQ(WideToUtf8(wide), utf8);
  EXPECT_EQ(NarrowToWide(CP_UTF8, utf8), wide);
  EXPECT_EQ(WideToUtf8(L""), "");
  EXPECT_EQ(NarrowToWide(CP_UTF8, ""), L"");
}

TEST(Text, DropsWhatFollowsAnEmbeddedNul) {
  EXPECT_EQ(WideToUtf8(std::wstring(L"ab\0cd", 5)), "ab");
  EXPECT_EQ(NarrowToWide(CP_UTF8, std::string("ab\0cd", 5)), L"ab");
}

TEST(Text, ReplacesWhatTheCodePageLacks) {
  EXPECT_EQ(WideToNarrow(1252, L"\u00e4\u4e2d"), "\xe4?");
  EXPECT_EQ(WideToUtf8(L"a\xd800z"), "a\xef\xbf\xbdz");
}

TEST(Text, ConvertsByTheCodePageOfTheThreadsLocale) {
  const LCID before = GetThreadLocale();
  ASSERT_TRUE(SetThreadLocale(MAKELCID(0x0419, SORT_DEFAULT)));
  EXPECT_EQ(win::ThreadAnsiToWide("\xc6"), L"\u0416");
  EXPECT_EQ(win::WideToThreadAnsi(L"\u0416"), "\xc6");
  SetThreadLocale(before);
}
