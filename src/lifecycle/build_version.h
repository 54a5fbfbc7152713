#pragma once

namespace lifecycle {

/// The client version that this module is built for. No other file in src/ contains it. Versions are compared with it
/// byte by byte; the module never splits or orders versions.
inline constexpr char kBuildVersion[] = "5.165.3.4096";

}  // namespace lifecycle
