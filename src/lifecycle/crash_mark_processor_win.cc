#include "lifecycle/crash_mark_processor_win.h"

#include <windows.h>

#include <cstdint>

#include "lifecycle/client_registry.h"
#include "lifecycle/mark_freshness.h"
#include "win/registry_key.h"
#include "win/text.h"

namespace lifecycle {

namespace {

/// The name of a mark's value in the ANSI code page; empty for a type that has no name.
std::string ValueName(uint32_t type, const std::string& argument) {
  switch (type) {
    case kHardwareCapabilityMark:
      return "hwcapquery";
    case kStartupMark:
      return "esn" + argument;
    case kReservedMark:
      return "esdgs";
    default:
      return {};
  }
}

/// Whether the value holds the time of a mark that counts. A time that does not count is removed: it is too old, or a
/// wrong clock wrote it. The value's type is deliberately not looked at, and data shorter than a time is taken for the
/// time's low bytes; longer data is no mark and stays.
bool ReadFresh(const win::RegistryKey& key, const std::string& name) {
  const std::wstring valueName = win::AnsiToWide(name);
  int64_t stored = 0;
  if (!key.ReadData(valueName.c_str(), &stored, sizeof(stored))) return false;
  if (IsFresh(stored, UnixMillisecondsNow())) return true;
  // Marks are read with the right to query alone, which does not allow to remove one.
  OpenClientKey(kMarkKey, KEY_SET_VALUE).DeleteValue(valueName.c_str());
  return false;
}

}  // namespace

CrashMarkProcessorWin::CrashMarkProcessorWin() {
  LoadAll();
}

bool CrashMarkProcessorWin::setMark(uint32_t type, std::string argument) {
  if (hasMark(type, argument)) return true;
  const auto key = win::RegistryKey::Create(HKEY_LOCAL_MACHINE, kMarkKey, KEY_SET_VALUE | KEY_WOW64_32KEY);
  if (!key) return false;
  const std::string name = ValueName(type, argument);
  if (name.empty()) return false;
  if (!key.WriteQword(win::AnsiToWide(name).c_str(), static_cast<uint64_t>(UnixMillisecondsNow()))) return false;
  marks_[name] = true;
  return true;
}

bool CrashMarkProcessorWin::clearMark(uint32_t type, std::string argument) {
  const std::string name = ValueName(type, argument);
  if (marks_.erase(name) == 0) return false;
  const auto key = OpenClientKey(kMarkKey, KEY_SET_VALUE);
  if (!key || name.empty()) return false;
  return key.DeleteValue(win::AnsiToWide(name).c_str());
}

bool CrashMarkProcessorWin::hasMark(uint32_t type, std::string argument) {
  if (!argument.empty()) Refresh(type, argument);
  const auto mark = marks_.find(ValueName(type, argument));
  return mark != marks_.end() && mark->second;
}

void CrashMarkProcessorWin::LoadAll() {
  const auto key = OpenClientKey(kMarkKey, KEY_QUERY_VALUE);
  if (!key) return;
  // Code 0 is deliberate: it has no name, and so checks the key's default value like a mark.
  for (const uint32_t type : {kHardwareCapabilityMark, kStartupMark, kReservedMark, uint32_t{0}}) {
    const std::string name = ValueName(type, "");
    marks_.emplace(name, ReadFresh(key, name));
  }
}

void CrashMarkProcessorWin::Refresh(uint32_t type, const std::string& argument) {
  const auto key = OpenClientKey(kMarkKey, KEY_QUERY_VALUE);
  if (!key) return;
  const std::string name = ValueName(type, argument);
  marks_[name] = ReadFresh(key, name);
}

}  // namespace lifecycle
