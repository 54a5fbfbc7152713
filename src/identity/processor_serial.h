#pragma once

#include <string>

namespace identity {

/// The processor field of the machine's identifier: 24 upper-case hex digits if the processor has a serial number,
/// otherwise "0". Hardly any processor since 2001 has one. The result is also "0" when the CPUID instruction faults.
/// Any thread.
std::wstring ProcessorField();

}  // namespace identity
