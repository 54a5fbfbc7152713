#include "identity/disk_serial.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <winioctl.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "identity/machine_id.h"
#include "identity/smart_identify.h"
#include "identity/storage_property.h"
#include "support/import_patch.h"

namespace {

using identity::DiskRecord;
using testing_support::ImportPatch;
using testing_support::RealFunction;

auto* const realCreateFileW = RealFunction<decltype(CreateFileW)>(L"kernel32.dll", "CreateFileW");
auto* const realCloseHandle = RealFunction<decltype(CloseHandle)>(L"kernel32.dll", "CloseHandle");

/// What of its IDENTIFY data a drive tells.
struct SmartAnswer {
  uint16_t word0;
  std::string serial;
};

/// What a drive answers; what is missing it refuses.
struct Drive {
  std::optional<MEDIA_TYPE> geometry{};
  std::optional<std::string> property{};
  bool mediaSerialNumber = false;
  std::optional<BYTE> ideDeviceMap{};
  std::optional<SmartAnswer> smartA{};
  std::optional<SmartAnswer> smartB{};
};

/// The machine's drives by path; others do not exist. While one lives, the device calls of this program go to it.
class Machine {
 public:
  explicit Machine(std::map<std::wstring, Drive> drives) : drives_(std::move(drives)) { current_ = this; }
  ~Machine() { EXPECT_TRUE(open_.empty()) << "a handle is left open"; }
  Machine(const Machine&) = delete;
  Machine& operator=(const Machine&) = delete;

  /// Every call: "open PATH ACCESS SHARE", "CODE IN-LENGTH OUT-LENGTH", "close".
  std::vector<std::string> calls;
  /// The input of each SMART_RCV_DRIVE_DATA, in hex.
  std::vector<std::string> smartInputs;
  /// The value of the next handle.
  uintptr_t nextHandle = 0x1000;

  /// The paths that were opened, without the part that all share.
  std::string Opened() const {
    std::string opened;
    for (const std::string& call : calls) {
      if (call.rfind("open ", 0) == 0) opened += call.substr(5, call.find(' ', 5) - 5) + " ";
    }
    return opened;
  }

 private:
  static HANDLE WINAPI Open(LPCWSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security, DWORD disposition,
                            DWORD flags, HANDLE /*model*/) {
    const std::wstring prefix = L"\\\\.\\";
    if (std::wstring(path).rfind(prefix, 0) != 0)
      return realCreateFileW(path, access, share, security, disposition, flags, nullptr);
    EXPECT_TRUE(!security && disposition == OPEN_EXISTING && flags == 0);
    const std::wstring name = path + prefix.size();
    std::array<char, 100> call{};
    std::snprintf(call.data(), call.size(), "open %ls %lX %lX", name.c_str(), access, share);
    current_->calls.emplace_back(call.data());
    const auto drive = current_->drives_.find(name);
    if (drive == current_->drives_.end()) return INVALID_HANDLE_VALUE;
    const auto handle = reinterpret_cast<HANDLE>(current_->nextHandle++);
    current_->open_[handle] = &drive->second;
    return handle;
  }

  static BOOL WINAPI Control(HANDLE device, DWORD code, LPVOID in, DWORD inLength, LPVOID out, DWORD outLength,
                             LPDWORD returned, LPOVERLAPPED overlapped) {
    EXPECT_TRUE(returned && !overlapped);
    std::array<char, 100> call{};
    std::snprintf(call.data(), call.size(), "%lX %lu %lu", code, inLength, outLength);
    current_->calls.emplace_back(call.data());
    const auto* input = static_cast<const BYTE*>(in);
    EXPECT_EQ(input == nullptr, inLength == 0);
    return Answer(*current_->open_.at(device), code, {input, inLength}, static_cast<BYTE*>(out));
  }

  static BOOL Answer(const Drive& drive, DWORD code, std::span<const BYTE> input, BYTE* out) {
    switch (code) {
      case IOCTL_DISK_GET_DRIVE_GEOMETRY:
        if (drive.geometry) reinterpret_cast<DISK_GEOMETRY*>(out)->MediaType = *drive.geometry;
        return drive.geometry.has_value();
      case IOCTL_STORAGE_QUERY_PROPERTY:
        for (const BYTE byte : input)
          EXPECT_EQ(byte, 0);
        if (!drive.property) return FALSE;
        reinterpret_cast<STORAGE_DEVICE_DESCRIPTOR*>(out)->SerialNumberOffset = 100;
        std::memcpy(out + 100, drive.property->c_str(), drive.property->size());
        return TRUE;
      case IOCTL_STORAGE_GET_MEDIA_SERIAL_NUMBER:
        EXPECT_EQ(std::string(reinterpret_cast<char*>(out), 40959), std::string(40959, '\0')) << "zeroed again";
        std::fill_n(out, 16, BYTE{'R'});  // The returned data, which is not what counts.
        return drive.mediaSerialNumber;
      case SMART_GET_VERSION:
        if (drive.ideDeviceMap) reinterpret_cast<GETVERSIONINPARAMS*>(out)->bIDEDeviceMap = *drive.ideDeviceMap;
        return drive.ideDeviceMap.has_value();
      case SMART_RCV_DRIVE_DATA:
        return AnswerSmart(input.size() == 32 ? drive.smartA : drive.smartB, input, out);
      default:
        ADD_FAILURE() << "unknown control code " << code;
        return FALSE;
    }
  }

  static BOOL AnswerSmart(const std::optional<SmartAnswer>& answer, std::span<const BYTE> input, BYTE* out) {
    std::string hex;
    for (const BYTE byte : input) {
      std::array<char, 3> digits{};
      std::snprintf(digits.data(), digits.size(), "%02X", byte);
      hex += digits.data();
    }
    current_->smartInputs.push_back(hex);
    if (!answer) return FALSE;
    std::memcpy(out + 16, &answer->word0, 2);
    for (size_t i = 0; i < answer->serial.size(); ++i)
      out[16 + 20 + (i ^ 1)] = static_cast<BYTE>(answer->serial[i]);
    return TRUE;
  }

  static BOOL WINAPI Close(HANDLE handle) {
    if (current_->open_.erase(handle) == 0) return realCloseHandle(handle);
    current_->calls.emplace_back("close");
    return TRUE;
  }

  static inline Machine* current_ = nullptr;
  std::map<std::wstring, Drive> drives_;
  std::map<HANDLE, const Drive*> open_;
  ImportPatch openPatch_{"CreateFileW", &Open};
  ImportPatch controlPatch_{"DeviceIoControl", &Control};
  ImportPatch closePatch_{"CloseHandle", &Close};
};

/// The serial number that the probe finds, or "-" when it fails.
std::wstring SerialOfC() {
  std::wstring serial = L"-";
  const bool found = identity::ProbeDiskSerial(L'C', serial);
  EXPECT_EQ(found, serial != L"-");
  return serial;
}

using Calls = std::vector<std::string>;

}  // namespace

TEST(DiskSerial, IsPartOfTheMachineId) {
  Machine machine({{L"C:", {.geometry = FixedMedia, .property = "S3Z9"}}});
  EXPECT_NE(identity::MachineId().find("-D_S3Z9-M_"), std::string::npos);
}

TEST(DiskSerial, OfAFixedVolumeComesFromTheVolumeItself) {
  Machine machine({{L"C:", {.geometry = FixedMedia, .property = "S3Z9"}}});
  EXPECT_EQ(SerialOfC(), L"S3Z9");
  EXPECT_EQ(machine.calls, (Calls{"open C: 0 3", "70000 0 24", "2D1400 12 40959", "2D0C10 0 40959", "close"}));
}

TEST(DiskSerial, ComesFromTheFirstPhysicalDriveThatTellsOne) {
  const Drive removable{.geometry = RemovableMedia, .property = "stick"};
  const Drive smartOnly{
      .ideDeviceMap = BYTE{0x20}, .smartA = SmartAnswer{0x80, "card"}, .smartB = SmartAnswer{0x40, "disk"}};
  Machine machine({{L"C:", removable}, {L"PhysicalDrive0", removable}, {L"PhysicalDrive1", smartOnly}});
  EXPECT_EQ(SerialOfC(), L"disk");
  std::string calls;
  for (const std::string& call : machine.calls)
    calls += call + (call == "close" ? "\n" : "; ");
  EXPECT_EQ(calls,
            "open C: 0 3; 70000 0 24; 2D1400 12 40959; 2D0C10 0 40959; close\n"
            "open PhysicalDrive0 0 3; 70000 0 24; 2D1400 12 40959; 2D0C10 0 40959; close\n"
            "open PhysicalDrive0 C0000000 3; 74080 0 24; close\n"
            "open PhysicalDrive0 C0000000 7; 74080 0 24; close\n"
            "open PhysicalDrive1 0 3; 70000 0 24; close\n"
            "open PhysicalDrive1 C0000000 3; 74080 0 24; 7C088 32 528; close\n"
            "open PhysicalDrive1 C0000000 7; 74080 0 24; 7C088 33 545; close\n");
  // Buffer size, then the registers: a packet device on the slave's place.
  EXPECT_EQ(machine.smartInputs, (Calls{"000200000001000000B0A10001" + std::string(38, '0'),
                                        "00000000000000000000EC00" + std::string(42, '0')}));
}

TEST(DiskSerial, AddressesADriveByItsPlaceOnTheController) {
  const Drive drive{.ideDeviceMap = BYTE{0x23}, .smartA = SmartAnswer{0x40, "disk"}};
  Machine machine({{L"PhysicalDrive0", drive}, {L"PhysicalDrive15", drive}});
  DiskRecord record;
  EXPECT_TRUE(identity::ProbeSmartA(0, record));
  EXPECT_EQ(record.devicePath, L"\\\\.\\PhysicalDrive0");
  EXPECT_TRUE(identity::ProbeSmartA(15, record));
  EXPECT_EQ(machine.smartInputs, (Calls{"0002000000010000"
                                        "00A0EC0000" +
                                            std::string(38, '0'),
                                        "0002000000010000"
                                        "00B0EC000F" +
                                            std::string(38, '0')}));
}

TEST(DiskSerial, LooksAtSixteenDrivesAndNoMore) {
  Machine machine({{L"PhysicalDrive16", {.geometry = FixedMedia, .property = "beyond"}}});
  EXPECT_EQ(SerialOfC(), L"-");
  EXPECT_EQ(machine.calls.size(), 1U + 16 * 3);
  EXPECT_EQ(machine.calls.back(), "open PhysicalDrive15 C0000000 7");
}

TEST(DiskSerial, IsGivenUpAtAFixedDriveThatKeepsIt) {
  const Drive silent{.geometry = FixedMedia};
  const Drive telling{.geometry = FixedMedia, .property = "S3Z9"};
  {
    Machine machine({{L"C:", silent}, {L"PhysicalDrive1", silent}, {L"PhysicalDrive2", telling}});
    EXPECT_EQ(SerialOfC(), L"-") << "a silent volume does not end the search, a silent drive does";
    EXPECT_EQ(machine.Opened(),
              "C: PhysicalDrive0 PhysicalDrive0 PhysicalDrive0 PhysicalDrive1 PhysicalDrive1 PhysicalDrive1 ");
  }
  const Drive later{.geometry = FixedMedia, .ideDeviceMap = BYTE{0}, .smartB = SmartAnswer{0x40, "late"}};
  Machine machine({{L"PhysicalDrive0", later}});
  EXPECT_EQ(SerialOfC(), L"late") << "the index's other probes still run";
  EXPECT_EQ(machine.smartInputs.size(), 1U) << "A does not ask a controller without devices";
}

TEST(DiskSerial, IsTheHandlesValueWhereTheDriverTellsAMediaSerialNumber) {
  for (const auto& [value, serial] :
       {std::pair<uintptr_t, const wchar_t*>{0x434241, L"ABC"}, {0x4847464544434241, L"ABCDEFGH"}, {0x410061, L"a"}}) {
    Machine machine({{L"C:", {.geometry = FixedMedia, .property = "S3Z9", .mediaSerialNumber = true}}});
    machine.nextHandle = value;
    EXPECT_EQ(SerialOfC(), serial);
  }
}

TEST(DiskSerial, RecordIsClearedBeforeEachProbe) {
  Machine machine({{L"C:", {.geometry = FixedMedia, .property = "S3Z9"}}});
  DiskRecord record;
  EXPECT_TRUE(identity::ProbeStorageProperty(L"\\\\.\\C:", record));
  EXPECT_EQ(record.devicePath, L"\\\\.\\C:");
  for (const auto probe : {&identity::ProbeSmartA, &identity::ProbeSmartB}) {
    record.serialNumber = L"old";
    record.mediaType = FixedMedia;
    EXPECT_FALSE(probe(0, record));
    EXPECT_EQ(record.serialNumber + record.devicePath, L"");
    EXPECT_EQ(record.mediaType, 0U);
  }
}
