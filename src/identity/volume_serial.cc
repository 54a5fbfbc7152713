#include "identity/volume_serial.h"

#include <windows.h>

#include <array>

#include "identity/upper_hex.h"

namespace identity {

namespace {

bool ReadVolumeSerial(const std::wstring& root, DWORD& serial) {
  DWORD flags = 0;
  std::array<wchar_t, 32> fileSystem{};
  return GetVolumeInformationW(root.c_str(), nullptr, 0, &serial, nullptr, &flags, fileSystem.data(),
                               static_cast<DWORD>(fileSystem.size())) != FALSE;
}

}  // namespace

bool ProbeVolumeSerial(wchar_t letter, std::wstring& serial) {
  DWORD number = 0;
  const std::wstring drive = std::wstring(1, letter) + L":";
  if (!ReadVolumeSerial(L"\\\\.\\" + drive, number) && !ReadVolumeSerial(drive + L"\\", number)) return false;
  serial = UpperHex(number, 8);
  return true;
}

}  // namespace identity
