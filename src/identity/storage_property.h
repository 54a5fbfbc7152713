#pragma once

#include <windows.h>

#include <span>
#include <string>

#include "identity/disk_record.h"

namespace identity {

/// Asks the storage driver of the device at `devicePath` ("\\.\C:", "\\.\PhysicalDrive0") about its disk. Needs no
/// elevation. Clears `record` first and then fills in what the driver reports.
///
/// Returns true when the driver answered at least one of two queries: the one for the device's description, or the one
/// for the serial number of its medium. Returns false when the device cannot be opened or reports no geometry, and when
/// both queries fail. In the last case the media type is filled in all the same. Any thread. Blocks.
bool ProbeStorageProperty(const std::wstring& devicePath, DiskRecord& record);

/// Reads strings and bus type from the STORAGE_DEVICE_DESCRIPTOR at the start of `buffer`. The bytes come from a device
/// and are not trusted: an offset of 0 or past the buffer gives an empty string, and a string never goes beyond the end
/// of the buffer. The strings are converted from the calling thread's ANSI code page. Any thread.
void ReadDeviceDescriptor(std::span<const BYTE> buffer, DiskRecord& record);

}  // namespace identity
