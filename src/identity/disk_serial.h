#pragma once

#include <string>

namespace identity {

/// Finds the serial number of the disk behind drive `letter`, or else of the first of sixteen physical drives that
/// reports one. Stores it in `serial` as the disk reports it and returns true. Returns false and leaves `serial`
/// unchanged when there is none. Asks up to 17 devices in 49 probes. Any thread. Blocks.
bool ProbeDiskSerial(wchar_t letter, std::wstring& serial);

/// Some drivers report a serial number as the hex digits of a byte-swapped ATA string. Returns the string that such
/// digits stand for, and any other serial number unchanged. The result keeps its spaces, and a decoded 00 is a
/// character like any other. Any thread.
std::wstring NormalizeDiskSerial(const std::wstring& serial);

}  // namespace identity
