#include "identity/disk_serial.h"

#include <utility>

#include "identity/disk_record.h"
#include "identity/smart_identify.h"
#include "identity/storage_property.h"

namespace identity {

namespace {

constexpr unsigned kMaxPhysicalDrives = 16;
constexpr unsigned kNoHexDigit = 16;

bool ProbePhysicalDrive(unsigned drive, DiskRecord& record) {
  return ProbeStorageProperty(PhysicalDrivePath(drive), record);
}

unsigned HexDigitValue(wchar_t digit) {
  if (digit >= L'0' && digit <= L'9') return static_cast<unsigned>(digit - L'0');
  if (digit >= L'A' && digit <= L'F') return static_cast<unsigned>(digit - L'A' + 10);
  if (digit >= L'a' && digit <= L'f') return static_cast<unsigned>(digit - L'a' + 10);
  return kNoHexDigit;
}

/// True if there is a space after a character that is not a space.
bool HasInnerSpace(const std::wstring& string) {
  const size_t start = string.find_first_not_of(L' ');
  return start != std::wstring::npos && string.find(L' ', start) != std::wstring::npos;
}

}  // namespace

bool ProbeDiskSerial(wchar_t letter, std::wstring& serial) {
  // The probes' return values do not matter, only what they have put into the record.
  DiskRecord record;
  ProbeStorageProperty(std::wstring(L"\\\\.\\") + letter + L":", record);
  if (record.IsFixed() && !record.serialNumber.empty()) {
    serial = record.serialNumber;
    return true;
  }
  for (unsigned drive = 0; drive < kMaxPhysicalDrives; ++drive) {
    bool isFixedWithoutSerial = false;
    for (const auto probe : {&ProbePhysicalDrive, &ProbeSmartA, &ProbeSmartB}) {
      probe(drive, record);
      if (!record.IsFixed()) continue;
      if (!record.serialNumber.empty()) {
        serial = record.serialNumber;
        return true;
      }
      isFixedWithoutSerial = true;
    }
    // A fixed disk without a serial number ends the search: a number found later would belong to another disk.
    if (isFixedWithoutSerial) return false;
  }
  return false;
}

std::wstring NormalizeDiskSerial(const std::wstring& serial) {
  if (serial.size() % 2 != 0) return serial;
  std::wstring decoded;
  for (size_t i = 0; i < serial.size(); i += 2) {
    const unsigned high = HexDigitValue(serial[i]);
    const unsigned low = HexDigitValue(serial[i + 1]);
    if (high == kNoHexDigit || low == kNoHexDigit || high > 7) return serial;
    decoded += static_cast<wchar_t>(high * 16 + low);
  }
  if (HasInnerSpace(decoded)) {
    for (size_t i = 0; i + 1 < decoded.size(); i += 2)
      std::swap(decoded[i], decoded[i + 1]);
  }
  return decoded;
}

}  // namespace identity
