#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "identity/disk_record.h"

namespace identity {

/// The answer of an ATA disk to IDENTIFY DEVICE.
using IdentifyData = std::span<const uint16_t, 256>;

/// Two ways of asking physical drive `drive` for its IDENTIFY data through the system's SMART interface, of use with
/// older IDE and ATA controllers. They differ in what the drivers of that time insisted on: A addresses the drive by
/// its place on the controller and reads packet devices too, B sends the bare command. Each clears `record` first and
/// returns whether the drive answered. They need elevation. Any thread; they block on the device.
bool ProbeSmartA(unsigned drive, DiskRecord& record);
bool ProbeSmartB(unsigned drive, DiskRecord& record);

/// Takes serial number, revision and media type from IDENTIFY data.
void ReadIdentifyData(IdentifyData words, DiskRecord& record);

/// The text in words `first` to `last` (at most 255), the high byte of each word first, without the white space at its
/// end, though never without its first character; up to the first NUL.
std::string IdentifyText(IdentifyData words, size_t first, size_t last);

}  // namespace identity
