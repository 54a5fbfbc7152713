#pragma once

#include <string>

namespace identity {

/// The machine's identifier: four facts, each after its tag, in plain ASCII. A fact that cannot be found is an empty
/// field ("0" for the processor). It is built at the first call and kept until the process ends. Any thread; a second
/// thread waits while the first one builds it. The first call blocks.
const std::string& MachineId();

}  // namespace identity
