#include "lifecycle/crash_mark.h"

#include <windows.h>

#include <bit>
#include <chrono>
#include <memory>
#include <mutex>
#include <utility>

#include "lifecycle/client_registry.h"
#include "win/registry_key.h"
#include "win/srw_lock.h"
#include "win/text.h"

namespace lifecycle {

namespace {

/// The name of a mark's value in the ANSI code page. Empty for a type that has no name.
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

/// The system clock's time in milliseconds since 1970-01-01 00:00 UTC, truncated toward zero.
int64_t UnixMillisecondsNow() noexcept {
  constexpr int64_t kTicksFrom1601To1970 = 116'444'736'000'000'000;
  constexpr int64_t kTicksInMillisecond = 10'000;
  FILETIME now{};
  GetSystemTimePreciseAsFileTime(&now);
  return (std::bit_cast<int64_t>(now) - kTicksFrom1601To1970) / kTicksInMillisecond;
}

/// Whether the mark `name` counts: it was set before now and less than 60 days ago. Both ends are excluded. Removes a
/// mark that does not count, because it is too old or was set by a wrong clock.
///
/// Compatibility: the value's type does not matter, and data shorter than 8 bytes gives the low bytes of the time.
/// Longer data is no mark.
bool CheckMark(const win::RegistryKey& key, const std::string& name) {
  constexpr int64_t kLifetime = 5'184'000'000;
  const std::wstring valueName = win::AnsiToWide(name);
  int64_t stored = 0;
  if (!key.ReadData(valueName.c_str(), &stored, sizeof(stored))) return false;
  const int64_t now = UnixMillisecondsNow();
  if (stored < now && stored > now - kLifetime) return true;
  // `key` is open for reading, which does not include the right to remove a value.
  OpenClientKey(kMarkKey, KEY_SET_VALUE).DeleteValue(valueName.c_str());
  return false;
}

/// Returns when the clock shows a later millisecond than `time`, or after five milliseconds.
void WaitUntilAfter(int64_t time) {
  using std::chrono::steady_clock;
  const auto deadline = steady_clock::now() + std::chrono::milliseconds(5);
  // Not Sleep(1), which may take fifteen milliseconds.
  while (UnixMillisecondsNow() <= time && steady_clock::now() < deadline)
    Sleep(0);
}

/// Guards the store, which does not take this lock itself.
win::SrwLock storeLock;

/// Never null on Windows.
CrashMarkProcessor* Store() {
  static const std::unique_ptr<CrashMarkProcessor> store = std::make_unique<CrashMarkProcessorWin>();
  return store.get();
}

}  // namespace

CrashMarkProcessorWin::CrashMarkProcessorWin() {
  const auto key = OpenClientKey(kMarkKey, KEY_QUERY_VALUE);
  if (!key) return;
  // Compatibility: type 0 has no name, so the registry key's default value is checked like a mark, and is removed if it
  // does not count.
  for (const uint32_t type : {kHardwareCapabilityMark, kStartupMark, kReservedMark, uint32_t{0}}) {
    const std::string name = ValueName(type, "");
    marks_.emplace(name, CheckMark(key, name));
  }
}

bool CrashMarkProcessorWin::setMark(uint32_t type, std::string argument) {
  if (hasMark(type, argument)) return true;
  const auto key = win::RegistryKey::Create(HKEY_LOCAL_MACHINE, kMarkKey, KEY_SET_VALUE | KEY_WOW64_32KEY);
  if (!key) return false;
  const std::string name = ValueName(type, argument);
  if (name.empty()) return false;
  const int64_t now = UnixMillisecondsNow();
  if (!key.WriteQword(win::AnsiToWide(name).c_str(), static_cast<uint64_t>(now))) return false;
  marks_[name] = true;
  WaitUntilAfter(now);
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
  const std::string name = ValueName(type, argument);
  if (!argument.empty()) {
    if (const auto key = OpenClientKey(kMarkKey, KEY_QUERY_VALUE)) marks_[name] = CheckMark(key, name);
  }
  const auto mark = marks_.find(name);
  return mark != marks_.end() && mark->second;
}

namespace crash_marks {

bool setMark(uint32_t type, const std::string& argument) {
  const std::lock_guard guard(storeLock);
  CrashMarkProcessor* const store = Store();
  return store && store->setMark(type, argument);
}

bool clearMark(uint32_t type, const std::string& argument) {
  const std::lock_guard guard(storeLock);
  CrashMarkProcessor* const store = Store();
  return store && store->clearMark(type, argument);
}

bool hasMark(uint32_t type, const std::string& argument) {
  const std::lock_guard guard(storeLock);
  CrashMarkProcessor* const store = Store();
  return store && store->hasMark(type, argument);
}

}  // namespace crash_marks

ScopedCrashMark::ScopedCrashMark(uint32_t type, std::string argument) : type_(type), argument_(std::move(argument)) {
  crash_marks::setMark(type_, argument_);
}

ScopedCrashMark::~ScopedCrashMark() {
  crash_marks::clearMark(type_, argument_);
}

}  // namespace lifecycle
