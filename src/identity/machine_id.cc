#include "identity/machine_id.h"

#include <cwchar>

#include "identity/disk_serial.h"
#include "identity/mac_address.h"
#include "identity/processor_serial.h"
#include "identity/volume_serial.h"
#include "win/text.h"

namespace identity {

namespace {

/// Not a path. A colon in it would add the drive before it to the probes, and change identifiers that are out there.
constexpr std::wstring_view kDriveAnchor = L"tessaron";

constexpr size_t kMaxDiskLength = 40;
constexpr size_t kMaxEscapedInput = 2048;

std::wstring WithoutBlanks(std::wstring text) {
  std::erase(text, L' ');
  return text;
}

bool IsKept(wchar_t character) {
  return character == L'-' || (character >= L'0' && character <= L'9') || character == L'=' ||
         (character >= L'A' && character <= L'Z') || character == L'_' || (character >= L'a' && character <= L'z');
}

/// Runs `probe` for each drive until it succeeds.
void ProbeDrives(bool (*probe)(wchar_t letter, std::wstring& field), std::wstring& field) {
  for (const wchar_t letter : ProbeDriveLetters(kDriveAnchor)) {
    if (letter && probe(letter, field)) return;
  }
}

std::string BuildMachineId() {
  MachineFacts facts;
  facts.processor = ProcessorField(ProbeProcessorSerial());
  ProbeDrives(&ProbeDiskSerial, facts.disk);
  ProbeDrives(&ProbeVolumeSerial, facts.volume);
  ProbeMacAddress(facts.mac);
  return win::WideToThreadAnsi(EscapeId(JoinFacts(facts)));
}

}  // namespace

const std::string& MachineId() {
  static const std::string id = BuildMachineId();
  return id;
}

std::wstring JoinFacts(const MachineFacts& facts) {
  const std::wstring disk = WithoutBlanks(NormalizeDiskSerial(facts.disk)).substr(0, kMaxDiskLength);
  return L"C_" + WithoutBlanks(facts.processor) + L"-D_" + disk + L"-M_" + WithoutBlanks(facts.mac) + L"-V_" +
         WithoutBlanks(facts.volume);
}

std::wstring EscapeId(const std::wstring& text) {
  std::wstring escaped;
  for (const wchar_t character : text.substr(0, kMaxEscapedInput)) {
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

std::array<wchar_t, 2> ProbeDriveLetters(std::wstring_view anchor) {
  std::array<wchar_t, 2> letters = {L'C', 0};
  const size_t colon = anchor.find(L':');
  if (colon == std::wstring_view::npos || colon == 0) return letters;
  const wchar_t letter = anchor[colon - 1];
  if (letter != L'C' && letter != L'c') letters[1] = letter;
  return letters;
}

}  // namespace identity
