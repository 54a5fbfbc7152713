#include "identity/os_version.h"

#include <gtest/gtest.h>

#include <windows.h>

#include "support/import_patch.h"

using identity::ClassifyOsGeneration;
using identity::OsGeneration;

namespace {

/// The system that the stand-in for VerifyVersionInfoW plays.
struct {
  DWORD major;
  DWORD minor;
  DWORD build;
  bool server;
} system_;

/// Answers as Windows does: versions compare as major, minor, service pack, and the build on its own.
BOOL WINAPI PlayVersion(OSVERSIONINFOEXW* asked, DWORD typeMask, DWORDLONG conditions) {
  DWORD expectedMask = VER_PRODUCT_TYPE;
  if (asked->dwMajorVersion) expectedMask = VER_MAJORVERSION | VER_MINORVERSION | VER_SERVICEPACKMAJOR;
  if (asked->dwBuildNumber) expectedMask = VER_MAJORVERSION | VER_MINORVERSION | VER_BUILDNUMBER;
  EXPECT_EQ(typeMask, expectedMask);
  DWORDLONG expected = 0;
  for (DWORD bit = 1; bit <= 0x80; bit <<= 1) {
    const bool product = bit == VER_PRODUCT_TYPE;
    if (typeMask & bit) expected = VerSetConditionMask(expected, bit, product ? VER_EQUAL : VER_GREATER_EQUAL);
  }
  if (conditions != expected || asked->dwOSVersionInfoSize != sizeof(*asked)) return FALSE;
  if (typeMask == VER_PRODUCT_TYPE) return (asked->wProductType == VER_NT_WORKSTATION) == !system_.server;
  if ((typeMask & VER_BUILDNUMBER) && system_.build < asked->dwBuildNumber) return FALSE;
  if (system_.major != asked->dwMajorVersion) return system_.major > asked->dwMajorVersion;
  return system_.minor >= asked->dwMinorVersion && asked->wServicePackMajor == 0;
}

OsGeneration Classify(DWORD major, DWORD minor, DWORD build, bool server = false) {
  const testing_support::ImportPatch patch("VerifyVersionInfoW", &PlayVersion);
  system_ = {.major = major, .minor = minor, .build = build, .server = server};
  return ClassifyOsGeneration();
}

}  // namespace

TEST(OsVersion, ClassifiesByTheFirstTestThatHolds) {
  EXPECT_EQ(Classify(10, 0, 22631), OsGeneration::k11);
  EXPECT_EQ(Classify(10, 0, 21996), OsGeneration::k11);
  EXPECT_EQ(Classify(10, 0, 21995), OsGeneration::k10);
  EXPECT_EQ(Classify(6, 3, 9600), OsGeneration::k81);
  EXPECT_EQ(Classify(6, 2, 9200), OsGeneration::k8);
  EXPECT_EQ(Classify(6, 1, 7601), OsGeneration::k7);
  EXPECT_EQ(Classify(6, 0, 6002), OsGeneration::kVista);
  EXPECT_EQ(Classify(5, 2, 3790), OsGeneration::kXp);
  EXPECT_EQ(Classify(5, 0, 2195), OsGeneration::kUnknown);
}

TEST(OsVersion, NamesAServerByItsVersionUnlessThatIsTooOld) {
  EXPECT_EQ(Classify(10, 0, 17763, true), OsGeneration::k10);
  EXPECT_EQ(Classify(10, 0, 26100, true), OsGeneration::k11);
  EXPECT_EQ(Classify(5, 0, 2195, true), OsGeneration::kServer);
}
