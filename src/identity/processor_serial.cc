#include "identity/processor_serial.h"

#ifdef _MSC_VER
#include <intrin.h>
#else
#include <cpuid.h>
#endif

#include "identity/upper_hex.h"
#include "win/fault_guard.h"

namespace identity {

namespace {

constexpr uint32_t kSerialNumberFeature = 0x40000;

}  // namespace

void ExecuteCpuid(void* leaf) {
  auto& answer = *static_cast<CpuidLeaf*>(leaf);
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

ProcessorSerial ProbeProcessorSerial(void (*cpuid)(void* leaf)) {
  ProcessorSerial serial;
  CpuidLeaf version{.leaf = 1};
  if (!win::CallUnderFaultGuard(cpuid, &version)) return serial;
  serial.signature = version.eax;
  serial.features = version.edx;
  CpuidLeaf number{.leaf = 3};
  if (!win::CallUnderFaultGuard(cpuid, &number)) return serial;
  serial.serialMiddle = number.ecx;
  serial.serialLow = number.edx;
  return serial;
}

std::wstring ProcessorField(const ProcessorSerial& serial) {
  if (!(serial.features & kSerialNumberFeature)) return L"0";
  // The signature last, deliberately: it would be the most significant word of the whole number.
  return UpperHex(serial.serialMiddle, 8) + UpperHex(serial.serialLow, 8) + UpperHex(serial.signature, 8);
}

}  // namespace identity
