#include "identity/debug_mode.h"

#include <array>

#include "win/never_destroyed.h"

namespace identity {

namespace {

constexpr DWORD kMaxPeriodEndSize = 18;
constexpr WORD kEnglishUnitedStates = MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US);

/// The debug period that `module` carries; empty when it carries none of a fitting size.
std::span<const BYTE> FindPeriodEnd(HMODULE module) {
  const HRSRC resource = FindResourceExW(module, L"DHS", L"101", kEnglishUnitedStates);
  if (!resource) return {};
  const DWORD size = SizeofResource(module, resource);
  if (size < 1 || size > kMaxPeriodEndSize) return {};
  const HGLOBAL loaded = LoadResource(module, resource);
  const void* const data = loaded ? LockResource(loaded) : nullptr;
  if (!data) return {};
  return {static_cast<const BYTE*>(data), size};
}

bool Decide(FileSignature& signature) {
  // Null when the module's file bears another name: then, deliberately, the host executable's resources and signature
  // decide.
  const HMODULE module = GetModuleHandleW(L"borvanta-util.node");
  const auto periodEnd = FindPeriodEnd(module);
  if (periodEnd.empty()) return false;
  SYSTEMTIME now{};
  GetLocalTime(&now);
  if (!IsInDebugPeriod(periodEnd, now)) return false;
  std::array<wchar_t, 260> path{};
  const DWORD length = GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()));
  // A path that was cut off names another file, whose signature says nothing about this one.
  if (length == 0 || length >= path.size()) return false;
  return signature.Verify(path.data());
}

}  // namespace

DebugMode& DebugMode::Instance() {
  static win::NeverDestroyed<DebugMode> instance;
  return instance.object;
}

bool DebugMode::Query() noexcept {
  if (evaluated_.exchange(1) == 0) {
    debug_ = 0;
    debug_ = Decide(signature_) ? 1 : 0;
  }
  return debug_ != 0;
}

void DebugMode::Release() noexcept {
  signature_.Release();
  evaluated_ = 0;
  debug_ = 0;
}

bool IsInDebugPeriod(std::span<const BYTE> digits, const SYSTEMTIME& now) noexcept {
  uint64_t last = 0;
  for (const BYTE digit : digits)
    last = last * 10 + (static_cast<uint64_t>(digit) - '0');

  FILETIME fileTime{};
  if (!SystemTimeToFileTime(&now, &fileTime)) return false;
  ULARGE_INTEGER ticks{};
  ticks.LowPart = fileTime.dwLowDateTime;
  ticks.HighPart = fileTime.dwHighDateTime;
  return ticks.QuadPart / 10000 <= last;
}

}  // namespace identity
