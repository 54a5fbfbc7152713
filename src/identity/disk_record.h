#pragma once

#include <windows.h>

#include <winioctl.h>

#include <cstdint>
#include <string>

namespace identity {

/// What a disk probe found out about a disk. Texts are empty and numbers 0 where it found nothing.
struct DiskRecord {
  /// The path that was opened.
  std::wstring devicePath;
  std::wstring serialNumber;
  /// Model and vendor; the storage-property probe alone knows them.
  std::wstring productId;
  std::wstring vendorId;
  /// The firmware's revision.
  std::wstring productRevision;
  /// A value of MEDIA_TYPE.
  uint32_t mediaType = 0;
  /// A value of STORAGE_BUS_TYPE; the storage-property probe alone knows it.
  uint32_t busType = 0;

  bool IsFixed() const noexcept { return mediaType == FixedMedia; }
};

}  // namespace identity
