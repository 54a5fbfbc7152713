// What is read from the bytes of a device, which may be anything.
#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <random>
#include <span>
#include <string>
#include <utility>

#include "identity/disk_serial.h"
#include "identity/smart_identify.h"
#include "identity/storage_property.h"
#include "support/guarded_bytes.h"

using identity::DiskRecord;
using identity::IdentifyText;
using identity::NormalizeDiskSerial;
using identity::ReadDeviceDescriptor;
using identity::ReadIdentifyData;
using testing_support::GuardedBytes;

namespace {

constexpr DWORD kSize = 40960;

/// Zeroes the buffer and puts a descriptor with these offsets at its start.
void Put(std::span<BYTE> buffer, DWORD vendor, DWORD product, DWORD revision, DWORD serial) {
  STORAGE_DEVICE_DESCRIPTOR descriptor{};
  descriptor.VendorIdOffset = vendor;
  descriptor.ProductIdOffset = product;
  descriptor.ProductRevisionOffset = revision;
  descriptor.SerialNumberOffset = serial;
  descriptor.BusType = BusTypeSata;
  std::fill(buffer.begin(), buffer.end(), BYTE{0});
  std::memcpy(buffer.data(), &descriptor, sizeof(descriptor));
}

std::array<uint16_t, 256> WordsWithSerial(std::string serial) {
  std::array<uint16_t, 256> words{};
  serial.resize(20, ' ');
  for (size_t i = 0; i < 10; ++i)
    words[10 + i] = static_cast<uint16_t>(static_cast<BYTE>(serial[2 * i]) << 8 | static_cast<BYTE>(serial[2 * i + 1]));
  return words;
}

}  // namespace

TEST(DeviceDescriptor, GivesTheTextsAtItsOffsets) {
  const GuardedBytes bytes(kSize);
  Put(bytes.Get(), 100, 200, 0, kSize - 4);
  std::memcpy(&bytes.Get()[100], "Vendor  ", 9);
  std::memcpy(&bytes.Get()[200], "Model", 6);
  std::memcpy(&bytes.Get()[kSize - 4], "S3Z9", 4);
  DiskRecord record;
  ReadDeviceDescriptor(bytes.Get(), record);
  EXPECT_EQ(record.vendorId, L"Vendor  ");
  EXPECT_EQ(record.productId, L"Model");
  EXPECT_EQ(record.productRevision, L"");
  EXPECT_EQ(record.serialNumber, L"S3Z9") << "ends with the buffer";
  EXPECT_EQ(record.busType, static_cast<uint32_t>(BusTypeSata));
}

TEST(DeviceDescriptor, TakesNoTextFromOutsideTheBuffer) {
  const GuardedBytes bytes(kSize);
  for (const DWORD offset : {0UL, static_cast<unsigned long>(kSize), kSize + 1UL, 0x7FFFFFFFUL, 0xFFFFFFFFUL}) {
    Put(bytes.Get(), offset, offset, offset, offset);
    bytes.Get()[0] = 'V';  // What an offset of 0 would find.
    DiskRecord record;
    ReadDeviceDescriptor(bytes.Get(), record);
    EXPECT_EQ(record.vendorId + record.productId + record.productRevision + record.serialNumber, L"") << offset;
  }
}

TEST(IdentifyData, GivesSerialRevisionAndMediaType) {
  auto words = WordsWithSerial("  WD-WMAM9A\t \r\n");
  words[0] = 0x40;
  words[23] = 0x3032;
  words[24] = 0x2E30;
  words[25] = 0x3345;
  words[26] = 0x3032;
  words[27] = 0x5858;
  DiskRecord record;
  ReadIdentifyData(words, record);
  EXPECT_EQ(record.serialNumber, L"  WD-WMAM9A");
  EXPECT_EQ(record.productRevision, L"02.03E02");
  for (const auto& [word, mediaType] : {std::pair(0x80, 11), {0xC0, 12}, {0x00, 0}, {0xFF3F, 0}}) {
    words[0] = static_cast<uint16_t>(word);
    DiskRecord other;
    ReadIdentifyData(words, other);
    EXPECT_EQ(other.mediaType, static_cast<uint32_t>(mediaType)) << word;
  }
}

TEST(IdentifyData, KeepsTheFirstCharacterAndEndsAtANul) {
  EXPECT_EQ(IdentifyText(WordsWithSerial(""), 10, 19), " ");
  EXPECT_EQ(IdentifyText(WordsWithSerial(std::string("AB \0CD", 6)), 10, 19), "AB ");
  EXPECT_EQ(IdentifyText(std::array<uint16_t, 256>{}, 10, 19), "");
  EXPECT_EQ(IdentifyText(WordsWithSerial("\xff\xa0"), 10, 19), "\xff\xa0") << "bytes above 127 are no white space";
  std::mt19937 random(2);
  for (int turn = 0; turn < 1000; ++turn) {
    std::array<uint16_t, 256> words{};
    std::generate(words.begin(), words.end(), [&] { return static_cast<uint16_t>(random()); });
    DiskRecord record;
    ReadIdentifyData(words, record);
    EXPECT_LE(record.serialNumber.size(), 20U);
  }
}

TEST(DiskSerialText, DecodesHexDigitsAndSwapsWhereABlankStandsInside) {
  EXPECT_EQ(NormalizeDiskSerial(L"574d414d3941"), L"WMAM9A") << "no blank: the bytes are in order";
  EXPECT_EQ(NormalizeDiskSerial(L"4157202020204443"), L"WA    CD") << "blanks after the first character: swapped";
  EXPECT_EQ(NormalizeDiskSerial(L"2020202041574443"), L"    AWDC") << "leading blanks only: not swapped";
  EXPECT_EQ(NormalizeDiskSerial(L"41204243204445"), L" ACBD E") << "the odd character at the end stays";
  EXPECT_EQ(NormalizeDiskSerial(L"20202020"), L"    ");
  EXPECT_EQ(NormalizeDiskSerial(L"7F00"), std::wstring(L"\x7f\0", 2));
}

TEST(DiskSerialText, LeavesWhatIsNoSuchText) {
  for (const wchar_t* serial : {L"", L"S3Z9NB0K", L"12345", L"4G", L"41 2", L"8041", L"FF", L"41\uff11\uff12", L"-1"})
    EXPECT_EQ(NormalizeDiskSerial(serial), serial);
}
