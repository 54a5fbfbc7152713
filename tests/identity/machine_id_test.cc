#include "identity/machine_id.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

using identity::EscapeId;
using identity::JoinFacts;
using identity::ProbeDriveLetters;

TEST(MachineId, JoinsTheFactsBehindTheirTags) {
  EXPECT_EQ(JoinFacts({.processor = L"0"}), L"C_0-D_-M_-V_");
  EXPECT_EQ(JoinFacts({.processor = L" 0 ", .disk = L" S3Z9 NB0K ", .mac = L"0011 2233", .volume = L"1A2B3C4D "}),
            L"C_0-D_S3Z9NB0K-M_00112233-V_1A2B3C4D");
}

TEST(MachineId, DecodesTheDiskThenDropsBlanksThenCutsIt) {
  const std::wstring longest = L"0123456789.0123456789.0123456789.0123456";
  EXPECT_EQ(JoinFacts({.disk = L" " + longest + L" XYZ"}), L"C_-D_" + longest + L"-M_-V_");
  EXPECT_EQ(JoinFacts({.disk = L"20204142"}), L"C_-D_AB-M_-V_");
  EXPECT_EQ(JoinFacts({.mac = std::wstring(50, L'M'), .volume = std::wstring(50, L'V')}),
            L"C_-D_-M_" + std::wstring(50, L'M') + L"-V_" + std::wstring(50, L'V'))
      << "the disk alone is cut";
}

TEST(MachineId, EscapesWhatIsNotKept) {
  const std::wstring kept = L"-0123456789=ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz";
  EXPECT_EQ(EscapeId(kept), kept);
  EXPECT_EQ(EscapeId(L"./:@[`{<>+%"), L"2e2f3a405b607b3c3e2b25");
  EXPECT_EQ(EscapeId(L"\t\x7f\u00e9\u0416\u4e2d\xd83d"), L"097fe94164e2dd83d");
  EXPECT_EQ(EscapeId(std::wstring(L"a\0b", 3)), L"a00b");
  EXPECT_EQ(EscapeId(L""), L"");
  EXPECT_EQ(EscapeId(std::wstring(2047, L'a') + L".b"), std::wstring(2047, L'a') + L"2e");
}

TEST(MachineId, TakesASecondDriveFromAnAnchorWithAColon) {
  using Letters = std::array<wchar_t, 2>;
  EXPECT_EQ(ProbeDriveLetters(L"tessaron"), (Letters{L'C', 0}));
  EXPECT_EQ(ProbeDriveLetters(L"xD:E:"), (Letters{L'C', L'D'}));
  EXPECT_EQ(ProbeDriveLetters(L"c:D:"), (Letters{L'C', 0}));
  EXPECT_EQ(ProbeDriveLetters(L"C:"), (Letters{L'C', 0}));
  EXPECT_EQ(ProbeDriveLetters(L":D:"), (Letters{L'C', 0}));
}
