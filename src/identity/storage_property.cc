#include "identity/storage_property.h"

#include <windows.h>

#include <winioctl.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstring>
#include <vector>

#include "win/text.h"
#include "win/unique_resource.h"

namespace identity {

namespace {

static_assert(sizeof(DISK_GEOMETRY) == 24 && offsetof(DISK_GEOMETRY, MediaType) == 8);
static_assert(sizeof(STORAGE_PROPERTY_QUERY) == 12);
static_assert(offsetof(STORAGE_DEVICE_DESCRIPTOR, VendorIdOffset) == 12);
static_assert(offsetof(STORAGE_DEVICE_DESCRIPTOR, SerialNumberOffset) == 24);
static_assert(offsetof(STORAGE_DEVICE_DESCRIPTOR, BusType) == 28);

constexpr DWORD kBufferSize = 40960;
/// One byte less than the buffer has: the last byte ends a string that has no terminator.
constexpr DWORD kOutputLength = kBufferSize - 1;

std::wstring StringAt(std::span<const BYTE> buffer, DWORD offset) {
  if (offset == 0 || offset >= buffer.size()) return {};
  const auto bytes = buffer.subspan(offset);
  return win::ThreadAnsiToWide(std::string(bytes.begin(), std::find(bytes.begin(), bytes.end(), BYTE{0})));
}

/// The bytes of a handle's value as a string, up to the first zero byte.
std::wstring HandleValueAsString(HANDLE handle) {
  const auto bytes = std::bit_cast<std::array<char, sizeof(handle)>>(handle);
  return win::ThreadAnsiToWide(std::string(bytes.data(), strnlen(bytes.data(), bytes.size())));
}

bool QueryDeviceProperty(HANDLE device, DiskRecord& record) {
  std::vector<BYTE> buffer(kBufferSize);
  STORAGE_PROPERTY_QUERY query{};
  DWORD returned = 0;
  if (!DeviceIoControl(device, IOCTL_STORAGE_QUERY_PROPERTY, &query, sizeof(query), buffer.data(), kOutputLength,
                       &returned, nullptr)) {
    return false;
  }
  buffer.back() = 0;
  ReadDeviceDescriptor(buffer, record);
  return true;
}

/// Compatibility: if the driver answers this query, the serial number is the value of our handle, not the answer.
/// Drivers of fixed disks normally refuse the query.
bool QueryMediaSerialNumber(HANDLE device, DiskRecord& record) {
  std::vector<BYTE> buffer(kBufferSize);
  DWORD returned = 0;
  if (!DeviceIoControl(device, IOCTL_STORAGE_GET_MEDIA_SERIAL_NUMBER, nullptr, 0, buffer.data(), kOutputLength,
                       &returned, nullptr)) {
    return false;
  }
  record.serialNumber = HandleValueAsString(device);
  return true;
}

}  // namespace

bool ProbeStorageProperty(const std::wstring& devicePath, DiskRecord& record) {
  record = {};
  const win::UniqueFile device(CreateFileW(devicePath.c_str(), /*dwDesiredAccess=*/0,
                                           FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr));
  if (!device) return false;
  record.devicePath = devicePath;
  DISK_GEOMETRY geometry{};
  DWORD returned = 0;
  if (!DeviceIoControl(device.Get(), IOCTL_DISK_GET_DRIVE_GEOMETRY, nullptr, 0, &geometry, sizeof(geometry), &returned,
                       nullptr)) {
    return false;
  }
  // Both enumerations come from a driver and may have a value that is none of theirs, so they are copied as bits.
  record.mediaType = std::bit_cast<uint32_t>(geometry.MediaType);
  const bool hasDescription = QueryDeviceProperty(device.Get(), record);
  const bool hasMediaSerialNumber = QueryMediaSerialNumber(device.Get(), record);
  return hasDescription || hasMediaSerialNumber;
}

void ReadDeviceDescriptor(std::span<const BYTE> buffer, DiskRecord& record) {
  STORAGE_DEVICE_DESCRIPTOR descriptor{};
  if (buffer.size() < sizeof(descriptor)) return;
  std::memcpy(&descriptor, buffer.data(), sizeof(descriptor));
  record.productId = StringAt(buffer, descriptor.ProductIdOffset);
  record.serialNumber = StringAt(buffer, descriptor.SerialNumberOffset);
  record.vendorId = StringAt(buffer, descriptor.VendorIdOffset);
  record.productRevision = StringAt(buffer, descriptor.ProductRevisionOffset);
  record.busType = std::bit_cast<uint32_t>(descriptor.BusType);
}

}  // namespace identity
