#pragma once

#include <string>

namespace identity {

/// The machine's identifier, for example "C_0-D_S3Z8NB0K-M_001122AABBCC-V_1A2B3C4D": four facts (processor, disk,
/// network address, volume), each after its tag, in plain ASCII. A fact that cannot be found is an empty field ("0" for
/// the processor). The identifier is built at the first call and kept until the process ends. Any thread; a second
/// thread waits while the first one builds the identifier. The first call blocks.
const std::string& MachineId();

}  // namespace identity
