#pragma once

#include <string>

namespace identity {

/// The processor's marketing name as the registry keeps it, leading and trailing blanks included, in the bytes of the
/// ANSI interface; empty when the value cannot be read. Read at the first call and kept for the life of the process.
/// Any thread.
const std::string& CpuName();

}  // namespace identity
