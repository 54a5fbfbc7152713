#include "identity/volume_serial.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <string>
#include <vector>

#include "support/import_patch.h"

namespace {

std::vector<std::wstring> asked;
size_t failures = 0;

BOOL WINAPI PlayVolume(LPCWSTR root, LPWSTR name, DWORD nameSize, LPDWORD serial, LPDWORD maxComponent, LPDWORD flags,
                       LPWSTR /*fileSystem*/, DWORD fileSystemSize) {
  EXPECT_TRUE(!name && nameSize == 0 && serial && !maxComponent && flags && fileSystemSize == 32);
  asked.emplace_back(root);
  *serial = 0x00A0B0C0;
  return asked.size() > failures;
}

}  // namespace

TEST(VolumeSerial, AsksTheDeviceAndThenTheRootOfTheSameDrive) {
  const testing_support::ImportPatch patch("GetVolumeInformationW", &PlayVolume);
  using Roots = std::vector<std::wstring>;
  for (failures = 0; failures <= 2; ++failures) {
    asked.clear();
    std::wstring serial = L"untouched";
    EXPECT_EQ(identity::ProbeVolumeSerial(L'C', serial), failures < 2);
    EXPECT_EQ(serial, failures < 2 ? L"00A0B0C0" : L"untouched");
    EXPECT_EQ(asked, failures == 0 ? Roots{L"\\\\.\\C:"} : (Roots{L"\\\\.\\C:", L"C:\\"}));
  }
}
