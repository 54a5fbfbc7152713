#pragma once

#include <string>

namespace identity {

/// Puts the serial number of the volume on drive `letter` into `serial`, in eight hex digits, and returns true. Returns
/// false and leaves `serial` alone when the system does not tell it. Any thread; blocks on the volume.
bool ProbeVolumeSerial(wchar_t letter, std::wstring& serial);

}  // namespace identity
