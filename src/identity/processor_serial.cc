#include "identity/processor_serial.h"

#include <cstdint>

#ifdef _MSC_VER
#include <intrin.h>
#else
#include <cpuid.h>
#endif

#include "identity/upper_hex.h"
#include "win/fault_guard.h"

namespace identity {

namespace {

/// In EDX of leaf 1: the processor has a serial number.
constexpr uint32_t kSerialNumberFeature = 0x40000;

/// One question to the CPUID instruction, and the registers of its answer.
struct CpuidLeaf {
  uint32_t leaf = 0;
  uint32_t eax = 0;
  uint32_t ebx = 0;
  uint32_t ecx = 0;
  uint32_t edx = 0;
};

/// Executes CPUID for sub-leaf 0 of the CpuidLeaf at `argument`.
void ExecuteCpuid(void* argument) {
  auto& answer = *static_cast<CpuidLeaf*>(argument);
#ifdef _MSC_VER
  int registers[4] = {};
  __cpuidex(registers, static_cast<int>(answer.leaf), 0);
  answer.eax = static_cast<uint32_t>(registers[0]);
  answer.ebx = static_cast<uint32_t>(registers[1]);
  answer.ecx = static_cast<uint32_t>(registers[2]);
  answer.edx = static_cast<uint32_t>(registers[3]);
#else
  __cpuid_count(answer.leaf, 0, answer.eax, answer.ebx, answer.ecx, answer.edx);
#endif
}

}  // namespace

std::wstring ProcessorField() {
  CpuidLeaf version{.leaf = 1};
  CpuidLeaf serial{.leaf = 3};
  // A hypervisor or an operating system can forbid the instruction. After a fault, the registers that were not read
  // stay 0.
  if (win::CallUnderFaultGuard(&ExecuteCpuid, &version)) win::CallUnderFaultGuard(&ExecuteCpuid, &serial);
  if (!(version.edx & kSerialNumberFeature)) return L"0";
  // Compatibility: the signature (EAX) comes last, although it is the number's highest part.
  return UpperHex(serial.ecx, 8) + UpperHex(serial.edx, 8) + UpperHex(version.eax, 8);
}

}  // namespace identity
