#include "identity/processor_serial.h"

#include <gtest/gtest.h>

#include <windows.h>

using identity::CpuidLeaf;
using identity::ProbeProcessorSerial;
using identity::ProcessorField;

namespace {

/// A processor with a serial number.
void PlayPentium3(void* leaf) {
  auto& answer = *static_cast<CpuidLeaf*>(leaf);
  answer = answer.leaf == 1 ? CpuidLeaf{1, 0x686, 0, 0, 0x40001} : CpuidLeaf{3, 1, 2, 0xABCDEF, 0x89};
}

/// A leaf that the processor refuses after something has been stored already: by a real fault, or by another exception.
template <uint32_t kRefused>
void RefuseLeaf(void* leaf) {
  PlayPentium3(leaf);
  if (static_cast<CpuidLeaf*>(leaf)->leaf != kRefused) return;
  if constexpr (kRefused == 1) RaiseException(EXCEPTION_ILLEGAL_INSTRUCTION, 0, 0, nullptr);
  *static_cast<volatile int*>(VirtualAlloc(nullptr, 4096, MEM_RESERVE, PAGE_NOACCESS)) = 1;
}

}  // namespace

TEST(ProcessorSerial, IsWrittenOnlyWhereTheProcessorHasOne) {
  EXPECT_EQ(ProcessorField({}), L"0");
  EXPECT_EQ(ProcessorField({.signature = 1, .features = ~0x40000U, .serialMiddle = 2, .serialLow = 3}), L"0");
  EXPECT_EQ(ProcessorField(ProbeProcessorSerial(&PlayPentium3)), L"00ABCDEF0000008900000686");
}

TEST(ProcessorSerial, LeavesWhatAFaultBrokeOffAtZero) {
  for (int again = 0; again < 1000; ++again)
    EXPECT_EQ(ProcessorField(ProbeProcessorSerial(&RefuseLeaf<1>)), L"0");
  EXPECT_EQ(ProcessorField(ProbeProcessorSerial(&RefuseLeaf<3>)), L"000000000000000000000686");
}

TEST(ProcessorSerial, ReadsTheRealProcessor) {
  CpuidLeaf vendor{.leaf = 0};
  identity::ExecuteCpuid(&vendor);
  EXPECT_GE(vendor.eax, 1U);
  CpuidLeaf brand{.leaf = 0x80000000};
  identity::ExecuteCpuid(&brand);
  EXPECT_GE(brand.eax, 0x80000001U) << "every 64-bit processor has the extended leaves";
  EXPECT_NE(ProbeProcessorSerial().signature, 0U);
}
