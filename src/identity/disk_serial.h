#pragma once

#include <string>

namespace identity {

/// Puts the serial number of the disk behind drive `letter`, or else of the first physical drive of sixteen that tells
/// one, into `serial` as the disk reports it, and returns true. Returns false and leaves `serial` alone when there is
/// none. Any thread; up to 49 probes of 17 devices, each of which may block.
bool ProbeDiskSerial(wchar_t letter, std::wstring& serial);

/// A serial number that its driver reports as the hex digits of a byte-swapped ATA text, as that text; any other one as
/// it is. Blanks stay, and a decoded 00 is a character like any other.
std::wstring NormalizeDiskSerial(const std::wstring& serial);

}  // namespace identity
