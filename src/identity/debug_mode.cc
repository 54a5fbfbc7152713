#include "identity/debug_mode.h"

#include <windows.h>

#include <array>
#include <bit>
#include <mutex>
#include <span>

#include "win/never_destroyed.h"

namespace identity {

namespace {

constexpr DWORD kMaxPeriodEndSize = 18;
constexpr WORD kEnglishUnitedStates = MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US);

/// The bytes of the debug period's end in the resources of `module`. Empty if there are none or too many.
std::span<const BYTE> FindPeriodEnd(HMODULE module) noexcept {
  const HRSRC resource = FindResourceExW(module, L"DHS", L"101", kEnglishUnitedStates);
  if (!resource) return {};
  const DWORD size = SizeofResource(module, resource);
  if (size < 1 || size > kMaxPeriodEndSize) return {};
  const HGLOBAL loaded = LoadResource(module, resource);
  const void* const data = loaded ? LockResource(loaded) : nullptr;
  if (!data) return {};
  return {static_cast<const BYTE*>(data), size};
}

/// Whether the local time is not later than `periodEnd`, a decimal number of milliseconds since 1601-01-01 00:00 local
/// time. Compatibility: nothing is validated. A byte that is not a digit counts as its code minus the code of '0', and
/// the number wraps at 64 bits. So a period that ends at "/" (-1, the highest number) never ends.
bool IsInPeriod(std::span<const BYTE> periodEnd) noexcept {
  uint64_t last = 0;
  for (const BYTE digit : periodEnd)
    last = last * 10 + (static_cast<uint64_t>(digit) - '0');

  SYSTEMTIME now{};
  GetLocalTime(&now);
  FILETIME fileTime{};
  if (!SystemTimeToFileTime(&now, &fileTime)) return false;
  return std::bit_cast<uint64_t>(fileTime) / 10000 <= last;
}

bool Decide(FileSignature& signature) noexcept {
  // Compatibility: `module` is null when the module's file has another name. Then the resources and the signature of
  // the host executable decide.
  const HMODULE module = GetModuleHandleW(L"borvanta-util.node");
  const auto periodEnd = FindPeriodEnd(module);
  if (periodEnd.empty() || !IsInPeriod(periodEnd)) return false;
  std::array<wchar_t, 260> path{};
  const DWORD length = GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()));
  // A path that was cut off may name another file.
  if (length == 0 || length >= path.size()) return false;
  return signature.Verify(path.data());
}

}  // namespace

DebugMode& DebugMode::Instance() {
  static win::NeverDestroyed<DebugMode> instance;
  return instance.object;
}

bool DebugMode::Query() noexcept {
  const std::lock_guard guard(lock_);
  if (!evaluated_) {
    evaluated_ = 1;
    debug_ = Decide(signature_) ? 1 : 0;
  }
  return debug_ != 0;
}

void DebugMode::Release() noexcept {
  const std::lock_guard guard(lock_);
  signature_.Release();
  evaluated_ = 0;
  debug_ = 0;
}

}  // namespace identity
