#pragma once

#include <cstdint>
#include <string>

namespace identity {

/// The generations of Windows that have a name. The classifier answers only some of them; the others keep their codes
/// and names because the codes are known outside this module.
enum class OsGeneration : int32_t {
  kUnknown = 0x1000,
  k32s,
  kNt3,
  k95,
  k98,
  kMe,
  kNt4,
  k2000,
  kXp,
  k2003,
  k2008,
  kVista,
  k2008R2,
  k7,
  k8,
  k81,
  k10,
  k11,
  kServer,
};

/// The short name of a generation, "10" for instance; "unknown" for a code that has none.
std::wstring OsGenerationName(OsGeneration generation);

/// The generation of the running system. Windows answers it as far as the host executable's compatibility manifest
/// allows: without a declared support for Windows 10, every modern system is reported as an older one. Any thread.
OsGeneration ClassifyOsGeneration();

/// The generation's name and, where the system has one, a blank and the label of its feature update: "10 22H2",
/// "10 1909" or "10". Never empty. Found out at the first call and kept for the life of the process. Any thread.
const std::string& OsVersionWithReleaseId();

}  // namespace identity
