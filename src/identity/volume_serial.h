#pragma once

#include <string>

namespace identity {

/// Stores the serial number of the volume on drive `letter` in `serial`, as eight upper-case hex digits, and returns
/// true. Returns false and leaves `serial` unchanged when the system does not know it. Any thread. Blocks.
bool ProbeVolumeSerial(wchar_t letter, std::wstring& serial);

}  // namespace identity
