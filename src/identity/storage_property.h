#pragma once

#include <windows.h>

#include <span>
#include <string>

#include "identity/disk_record.h"

namespace identity {

/// Asks the storage driver behind `devicePath` ("\\.\C:", "\\.\PhysicalDrive0") what it says about its disk, which
/// needs no elevation. Clears `record` first and returns whether the driver described the disk; the media type may be
/// known even when it did not. Any thread; blocks on the device.
bool ProbeStorageProperty(const std::wstring& devicePath, DiskRecord& record);

/// Takes texts and bus type from a STORAGE_DEVICE_DESCRIPTOR at the start of `buffer`. The bytes come from a device and
/// are trusted in nothing: an offset of 0 or past the buffer gives no text, and a text ends with the buffer at the
/// latest. Texts are read in the thread's ANSI code page.
void ReadDeviceDescriptor(std::span<const BYTE> buffer, DiskRecord& record);

}  // namespace identity
