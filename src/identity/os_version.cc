#include "identity/os_version.h"

#include <windows.h>

#include <array>

#include "win/registry_key.h"
#include "win/text.h"

namespace identity {

namespace {

constexpr std::array<const wchar_t*, 19> kGenerationNames = {
    L"unknown", L"32s",   L"nt3",    L"95", L"98", L"me",  L"nt4", L"2000", L"xp",    L"2003",
    L"2008",    L"vista", L"2008r2", L"7",  L"8",  L"8.1", L"10",  L"11",   L"Server"};
static_assert(static_cast<size_t>(OsGeneration::kServer) - static_cast<size_t>(OsGeneration::kUnknown) ==
              kGenerationNames.size() - 1);

/// One of the version tests of VerifyVersionInfoW: every field in `typeMask` is compared with `condition`.
bool Verify(OSVERSIONINFOEXW version, DWORD typeMask, BYTE condition) {
  version.dwOSVersionInfoSize = sizeof(version);
  ULONGLONG conditions = 0;
  for (const DWORD field : std::initializer_list<DWORD>{VER_MAJORVERSION, VER_MINORVERSION, VER_BUILDNUMBER,
                                                        VER_SERVICEPACKMAJOR, VER_PRODUCT_TYPE}) {
    if (typeMask & field) conditions = VerSetConditionMask(conditions, field, condition);
  }
  return VerifyVersionInfoW(&version, typeMask, conditions) != FALSE;
}

bool IsWindows11OrGreater() {
  OSVERSIONINFOEXW version{};
  version.dwMajorVersion = 10;
  version.dwMinorVersion = 0;
  version.dwBuildNumber = 21996;
  return Verify(version, VER_MAJORVERSION | VER_MINORVERSION | VER_BUILDNUMBER, VER_GREATER_EQUAL);
}

bool IsVersionOrGreater(DWORD major, DWORD minor, WORD servicePack) {
  OSVERSIONINFOEXW version{};
  version.dwMajorVersion = major;
  version.dwMinorVersion = minor;
  version.wServicePackMajor = servicePack;
  return Verify(version, VER_MAJORVERSION | VER_MINORVERSION | VER_SERVICEPACKMAJOR, VER_GREATER_EQUAL);
}

bool IsServer() {
  OSVERSIONINFOEXW version{};
  version.wProductType = VER_NT_WORKSTATION;
  return !Verify(version, VER_PRODUCT_TYPE, VER_EQUAL);
}

std::string FeatureUpdateLabel(const char* valueName) {
  // The 64-bit view even in a 32-bit host.
  return win::RegistryKey::OpenAnsi(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion",
                                    KEY_WOW64_64KEY | KEY_QUERY_VALUE)
      .ReadAnsiText(valueName);
}

std::string DescribeOs() {
  std::string description = win::WideToThreadAnsi(OsGenerationName(ClassifyOsGeneration()));
  std::string label = FeatureUpdateLabel("DisplayVersion");
  if (label.empty()) label = FeatureUpdateLabel("ReleaseId");
  if (!label.empty()) description += " " + label;
  return description;
}

}  // namespace

std::wstring OsGenerationName(OsGeneration generation) {
  const auto index = static_cast<int64_t>(generation) - static_cast<int64_t>(OsGeneration::kUnknown);
  if (index < 0 || index >= static_cast<int64_t>(kGenerationNames.size())) return kGenerationNames[0];
  return kGenerationNames[static_cast<size_t>(index)];
}

OsGeneration ClassifyOsGeneration() {
  if (IsWindows11OrGreater()) return OsGeneration::k11;
  if (IsVersionOrGreater(10, 0, 0)) return OsGeneration::k10;
  if (IsVersionOrGreater(6, 3, 0)) return OsGeneration::k81;
  if (IsVersionOrGreater(6, 2, 0)) return OsGeneration::k8;
  if (IsVersionOrGreater(6, 1, 0)) return OsGeneration::k7;
  if (IsVersionOrGreater(6, 0, 0)) return OsGeneration::kVista;
  if (IsVersionOrGreater(5, 1, 0)) return OsGeneration::kXp;
  // Deliberately last: a server of 6.0 or later is called by its version, as the client expects.
  return IsServer() ? OsGeneration::kServer : OsGeneration::kUnknown;
}

const std::string& OsVersionWithReleaseId() {
  static const std::string description = DescribeOs();
  return description;
}

}  // namespace identity
