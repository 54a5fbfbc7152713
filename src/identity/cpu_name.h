#pragma once

#include <string>

namespace identity {

/// The processor's marketing name as the registry's ANSI interface returns it: the same bytes, with the leading and
/// trailing spaces. Compatibility: script gets these bytes as if they were UTF-8. Empty when it cannot be read. It is
/// read at the first call and kept until the process ends. Any thread.
const std::string& CpuName();

}  // namespace identity
