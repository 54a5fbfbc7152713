#pragma once

#include <string>

namespace identity {

/// Finds the serial number of a fixed disk: of the disk behind drive `letter`, or, if that is not fixed or has none, of
/// the first fixed disk among sixteen physical drives. Stores the number in `serial` as the disk reports it and returns
/// true. Returns false and leaves `serial` unchanged when neither disk has one. Asks up to 17 devices in 49 probes. Any
/// thread. Blocks.
bool ProbeDiskSerial(wchar_t letter, std::wstring& serial);

/// Some drivers report a serial number in hex digits, two for each ASCII character, and some of these swap the two
/// characters of each pair, as ATA does. Returns such a serial number decoded, and any other one unchanged. If the
/// decoded string contains a space after a character that is not a space, swaps each pair back. The result keeps its
/// spaces, and a decoded 00 is a character like any other. Any thread.
std::wstring NormalizeDiskSerial(const std::wstring& serial);

}  // namespace identity
