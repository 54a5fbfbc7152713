#pragma once

#include <windows.h>

#include <winioctl.h>

#include <cstdint>
#include <string>

namespace identity {

/// What one probe has read from a disk. A string is empty and a number is 0 if the disk did not report it.
struct DiskRecord {
  std::wstring devicePath;
  std::wstring serialNumber;
  /// Model and vendor. Only the storage-property probe fills them in.
  std::wstring productId;
  std::wstring vendorId;
  /// The firmware's revision.
  std::wstring productRevision;
  /// A value of MEDIA_TYPE.
  uint32_t mediaType = 0;
  /// A value of STORAGE_BUS_TYPE. Only the storage-property probe fills it in.
  uint32_t busType = 0;

  bool IsFixed() const noexcept { return mediaType == FixedMedia; }
};

/// The device path of physical drive `drive`, counted from 0.
inline std::wstring PhysicalDrivePath(unsigned drive) {
  return L"\\\\.\\PhysicalDrive" + std::to_wstring(drive);
}

}  // namespace identity
