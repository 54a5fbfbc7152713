#pragma once

#include <string>

namespace identity {

/// Finds the serial number of a fixed disk: of the disk behind drive `letter`, or, if that has none, of the first fixed
/// disk among sixteen physical drives. Stores the number in `serial` as the disk reports it and returns true. Returns
/// false and leaves `serial` unchanged when neither disk has one. Asks up to 17 devices in 49 probes. Any thread.
/// Blocks.
bool ProbeDiskSerial(wchar_t letter, std::wstring& serial);

/// Some drivers report a serial number in hex digits, two for each ASCII character, and some of these swap the two
/// characters of each pair, as ATA does. Returns the decoded string. Swaps the pairs back if the decoded string has a
/// space anywhere after its first character that is not a space. Returns any other serial number unchanged. The result
/// keeps its spaces, and a decoded 00 is a character like any other. Any thread.
std::wstring NormalizeDiskSerial(const std::wstring& serial);

}  // namespace identity
