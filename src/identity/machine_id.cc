#include "identity/machine_id.h"

#include <array>
#include <cwchar>
#include <string_view>

#include "identity/disk_serial.h"
#include "identity/mac_address.h"
#include "identity/processor_serial.h"
#include "identity/volume_serial.h"
#include "win/text.h"

namespace identity {

namespace {

/// Compatibility: the letter before the first colon in this string is probed as a drive too. The string is kept as it
/// is: it has no colon, so only drive C is probed.
constexpr std::wstring_view kDriveAnchor = L"tessaron";

constexpr size_t kMaxDiskLength = 40;
constexpr size_t kMaxEscapedInput = 2048;

/// The drives that are probed: C, and the letter before the anchor's first colon if it is another one. 0 is no drive.
constexpr std::array<wchar_t, 2> DriveLetters() {
  const size_t colon = kDriveAnchor.find(L':');
  if (colon == std::wstring_view::npos || colon == 0) return {L'C'};
  const wchar_t letter = kDriveAnchor[colon - 1];
  return {L'C', letter == L'C' || letter == L'c' ? L'\0' : letter};
}

/// Runs `probe` for one drive after the other until it succeeds. Returns the field that `probe` filled in, or an empty
/// field if it never succeeded.
std::wstring ProbeDrives(bool (*probe)(wchar_t letter, std::wstring& field)) {
  std::wstring field;
  for (const wchar_t letter : DriveLetters()) {
    if (letter && probe(letter, field)) break;
  }
  return field;
}

std::wstring WithoutSpaces(std::wstring field) {
  std::erase(field, L' ');
  return field;
}

bool IsKept(wchar_t character) {
  return character == L'-' || (character >= L'0' && character <= L'9') || character == L'=' ||
         (character >= L'A' && character <= L'Z') || character == L'_' || (character >= L'a' && character <= L'z');
}

/// Replaces each character that is not kept by its UTF-16 code unit in lower-case hex, for example "." by "2e": two
/// digits or more, without a prefix or a separator. Reads at most 2,048 characters and drops the rest.
std::wstring Escape(const std::wstring& raw) {
  std::wstring escaped;
  for (const wchar_t character : raw.substr(0, kMaxEscapedInput)) {
    if (IsKept(character)) {
      escaped += character;
      continue;
    }
    std::array<wchar_t, 5> hex{};
    std::swprintf(hex.data(), hex.size(), L"%02x", static_cast<unsigned>(character));
    escaped += hex.data();
  }
  return escaped;
}

std::string BuildMachineId() {
  const std::wstring processor = WithoutSpaces(ProcessorField());
  const std::wstring disk = WithoutSpaces(NormalizeDiskSerial(ProbeDrives(&ProbeDiskSerial))).substr(0, kMaxDiskLength);
  const std::wstring volume = WithoutSpaces(ProbeDrives(&ProbeVolumeSerial));
  std::wstring mac;
  // The result is ignored: for an adapter that is not wired, the probe stores the address too, but returns false.
  ProbeMacAddress(mac);
  return win::WideToThreadAnsi(
      Escape(L"C_" + processor + L"-D_" + disk + L"-M_" + WithoutSpaces(mac) + L"-V_" + volume));
}

}  // namespace

const std::string& MachineId() {
  static const std::string id = BuildMachineId();
  return id;
}

}  // namespace identity
