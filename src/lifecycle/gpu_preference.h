#pragma once

#include <string>

namespace lifecycle {

/// Removes the machine-wide GPU preference of the executable `path`. Returns the error text, empty on success.
/// Script thread only.
std::string RemoveGpuPreference(const std::wstring& path);

}  // namespace lifecycle
