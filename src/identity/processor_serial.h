#pragma once

#include <cstdint>
#include <string>

namespace identity {

/// One answer of the CPUID instruction.
struct CpuidLeaf {
  uint32_t leaf = 0;
  uint32_t eax = 0;
  uint32_t ebx = 0;
  uint32_t ecx = 0;
  uint32_t edx = 0;
};

/// What the identifier takes from the processor. A part that could not be read is 0.
struct ProcessorSerial {
  uint32_t signature = 0;
  uint32_t features = 0;
  uint32_t serialMiddle = 0;
  uint32_t serialLow = 0;
};

/// Executes CPUID with sub-leaf 0 and fills the registers of the CpuidLeaf behind `leaf`. Faults on a machine whose
/// hypervisor or operating system forbids the instruction.
void ExecuteCpuid(void* leaf);

/// Reads the processor's signature, its feature flags and its serial number by `cpuid`, under a fault guard: a fault
/// leaves what has not been read at 0. Any thread.
ProcessorSerial ProbeProcessorSerial(void (*cpuid)(void* leaf) = &ExecuteCpuid);

/// The identifier's processor field: 24 hex digits where the processor has a serial number, else "0". Hardly any
/// processor of this century has one.
std::wstring ProcessorField(const ProcessorSerial& serial);

}  // namespace identity
