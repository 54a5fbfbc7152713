#pragma once

#include <string>

namespace identity {

/// The processor's marketing name as the registry has it, with its leading and trailing spaces, in the bytes of the
/// registry's ANSI interface. Empty when it cannot be read. It is read at the first call and kept until the process
/// ends. Any thread.
const std::string& CpuName();

}  // namespace identity
