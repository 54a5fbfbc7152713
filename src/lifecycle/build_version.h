#pragma once

namespace lifecycle {

/// The client version that this module is built for; nothing else in src/ spells it. Versions are compared with it byte
/// by byte; nothing in the module takes a version apart or puts versions in an order.
inline constexpr char kBuildVersion[] = "5.165.3.4096";

}  // namespace lifecycle
