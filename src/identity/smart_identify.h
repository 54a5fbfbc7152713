#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "identity/disk_record.h"

namespace identity {

/// The 256 words that an ATA disk returns to IDENTIFY DEVICE.
using IdentifyData = std::span<const uint16_t, 256>;

/// Two ways to ask physical drive `drive` for its IDENTIFY data through the system's SMART interface. They are useful
/// with older IDE and ATA controllers, whose drivers accept one or the other. ProbeSmartA addresses the drive by its
/// place on the controller and also reads packet devices. ProbeSmartB sends only the command. Both need elevation. Each
/// clears `record` first, fills it in if the drive answers, and returns whether the drive answered. Any thread. Blocks.
bool ProbeSmartA(unsigned drive, DiskRecord& record);
bool ProbeSmartB(unsigned drive, DiskRecord& record);

/// Reads serial number, revision and media type from IDENTIFY data. The strings are converted from the calling thread's
/// ANSI code page. Any thread.
void ReadIdentifyData(IdentifyData words, DiskRecord& record);

}  // namespace identity
