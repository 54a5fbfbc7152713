#include "identity/smart_identify.h"

#include <windows.h>

#include <winioctl.h>

#include <array>
#include <cstring>
#include <string>

#include "win/text.h"
#include "win/unique_resource.h"

namespace identity {

namespace {

static_assert(sizeof(GETVERSIONINPARAMS) == 24 && offsetof(GETVERSIONINPARAMS, bIDEDeviceMap) == 3);
static_assert(sizeof(SENDCMDINPARAMS) == 33 && offsetof(SENDCMDINPARAMS, irDriveRegs) == 4);
static_assert(offsetof(SENDCMDINPARAMS, bDriveNumber) == 12);
static_assert(sizeof(IDEREGS) == 8 && offsetof(IDEREGS, bDriveHeadReg) == 5 && offsetof(IDEREGS, bCommandReg) == 6);
static_assert(sizeof(SENDCMDOUTPARAMS) == 17 && offsetof(SENDCMDOUTPARAMS, bBuffer) == 16);

// Bits of word 0 of the IDENTIFY data, the general configuration.
constexpr uint16_t kFixedDevice = 0x40;
constexpr uint16_t kRemovableMedia = 0x80;
constexpr DWORD kMaxOutputLength = 545;

struct Variant {
  DWORD shareMode;
  bool needsIdeDevice;
  SENDCMDINPARAMS (*input)(unsigned drive, BYTE ideDeviceMap);
  DWORD inputLength;
  DWORD outputLength;
};

SENDCMDINPARAMS InputA(unsigned drive, BYTE ideDeviceMap) {
  SENDCMDINPARAMS input{};
  input.cBufferSize = 512;
  input.irDriveRegs.bSectorCountReg = 1;
  // Each IDE channel has two drives. The first one has an even number, the second one an odd number.
  input.irDriveRegs.bDriveHeadReg = drive % 2 == 0 ? 0xA0 : 0xB0;
  const bool isPacketDevice = ((ideDeviceMap >> drive) & 0x10) != 0;
  input.irDriveRegs.bCommandReg = isPacketDevice ? ATAPI_ID_CMD : ID_CMD;
  input.bDriveNumber = static_cast<BYTE>(drive);
  return input;
}

SENDCMDINPARAMS InputB(unsigned /*drive*/, BYTE /*ideDeviceMap*/) {
  SENDCMDINPARAMS input{};
  input.irDriveRegs.bCommandReg = ID_CMD;
  return input;
}

constexpr Variant kVariantA = {.shareMode = FILE_SHARE_READ | FILE_SHARE_WRITE,
                               .needsIdeDevice = true,
                               .input = &InputA,
                               .inputLength = 32,
                               .outputLength = 528};
constexpr Variant kVariantB = {.shareMode = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                               .needsIdeDevice = false,
                               .input = &InputB,
                               .inputLength = 33,
                               .outputLength = kMaxOutputLength};

bool Probe(const Variant& variant, unsigned drive, DiskRecord& record) {
  record = {};
  const std::wstring path = PhysicalDrivePath(drive);
  const win::UniqueFile device(
      CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, variant.shareMode, nullptr, OPEN_EXISTING, 0, nullptr));
  if (!device) return false;
  record.devicePath = path;

  GETVERSIONINPARAMS version{};
  DWORD returned = 0;
  if (!DeviceIoControl(device.Get(), SMART_GET_VERSION, nullptr, 0, &version, sizeof(version), &returned, nullptr)) {
    return false;
  }
  if (variant.needsIdeDevice && version.bIDEDeviceMap == 0) return false;

  SENDCMDINPARAMS input = variant.input(drive, version.bIDEDeviceMap);
  std::array<BYTE, kMaxOutputLength> output{};
  if (!DeviceIoControl(device.Get(), SMART_RCV_DRIVE_DATA, &input, variant.inputLength, output.data(),
                       variant.outputLength, &returned, nullptr)) {
    return false;
  }
  std::array<uint16_t, IdentifyData::extent> words{};
  static_assert(offsetof(SENDCMDOUTPARAMS, bBuffer) + sizeof(words) <= sizeof(output));
  std::memcpy(words.data(), output.data() + offsetof(SENDCMDOUTPARAMS, bBuffer), sizeof(words));
  ReadIdentifyData(words, record);
  return true;
}

/// Like isspace in the C locale, but defined for every value of a char, negative ones too.
bool IsWhiteSpace(char character) {
  return character == ' ' || (character >= '\t' && character <= '\r');
}

/// The string in words `first` to `last`. The high byte of a word is its first character. This function removes white
/// space from the end, but keeps the string's first character. Then it cuts the string off at its first NUL.
std::string StringInWords(IdentifyData words, size_t first, size_t last) {
  std::string string;
  for (const uint16_t word : words.subspan(first, last - first + 1)) {
    string += static_cast<char>(word >> 8);
    string += static_cast<char>(word & 0xFF);
  }
  while (string.size() > 1 && IsWhiteSpace(string.back()))
    string.pop_back();
  return string.substr(0, string.find('\0'));
}

}  // namespace

bool ProbeSmartA(unsigned drive, DiskRecord& record) {
  return Probe(kVariantA, drive, record);
}

bool ProbeSmartB(unsigned drive, DiskRecord& record) {
  return Probe(kVariantB, drive, record);
}

void ReadIdentifyData(IdentifyData words, DiskRecord& record) {
  record.serialNumber = win::ThreadAnsiToWide(StringInWords(words, 10, 19));
  record.productRevision = win::ThreadAnsiToWide(StringInWords(words, 23, 26));
  if (words[0] & kFixedDevice) {
    record.mediaType = FixedMedia;
  } else if (words[0] & kRemovableMedia) {
    record.mediaType = RemovableMedia;
  }
}

}  // namespace identity
