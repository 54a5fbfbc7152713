#pragma once

#include <cstdint>
#include <string>

namespace identity {

/// The generations of Windows that have a name. Compatibility: the list is complete, although ClassifyOsGeneration
/// returns only some of them.
enum class OsGeneration : int32_t {
  kUnknown = 0x1000,
  k32s = 0x1001,
  kNt3 = 0x1002,
  k95 = 0x1003,
  k98 = 0x1004,
  kMe = 0x1005,
  kNt4 = 0x1006,
  k2000 = 0x1007,
  kXp = 0x1008,
  k2003 = 0x1009,
  k2008 = 0x100A,
  kVista = 0x100B,
  k2008R2 = 0x100C,
  k7 = 0x100D,
  k8 = 0x100E,
  k81 = 0x100F,
  k10 = 0x1010,
  k11 = 0x1011,
  kServer = 0x1012,
};

/// The short name of a generation, for instance "10". "unknown" for a number that has no name. Any thread.
std::wstring OsGenerationName(OsGeneration generation);

/// The generation of the running system. The answer depends on the manifest of the host executable: if it does not
/// declare support for Windows 10, Windows 10 and later are reported as an older generation. Any thread.
OsGeneration ClassifyOsGeneration();

/// The generation's name and, if the system has one, a space and the label of its feature update: "10 22H2", "10 1909"
/// or "10". Never empty. It is built at the first call and kept until the process ends. Any thread.
const std::string& OsVersionWithReleaseId();

}  // namespace identity
