#include "identity/os_version.h"

#include <windows.h>

#include <array>

#include "win/registry_key.h"
#include "win/text.h"

namespace identity {

namespace {

struct GenerationName {
  OsGeneration generation;
  const wchar_t* name;
};

constexpr std::array<GenerationName, 19> kGenerationNames = {{
    {OsGeneration::kUnknown, L"unknown"}, {OsGeneration::k32s, L"32s"},   {OsGeneration::kNt3, L"nt3"},
    {OsGeneration::k95, L"95"},           {OsGeneration::k98, L"98"},     {OsGeneration::kMe, L"me"},
    {OsGeneration::kNt4, L"nt4"},         {OsGeneration::k2000, L"2000"}, {OsGeneration::kXp, L"xp"},
    {OsGeneration::k2003, L"2003"},       {OsGeneration::k2008, L"2008"}, {OsGeneration::kVista, L"vista"},
    {OsGeneration::k2008R2, L"2008r2"},   {OsGeneration::k7, L"7"},       {OsGeneration::k8, L"8"},
    {OsGeneration::k81, L"8.1"},          {OsGeneration::k10, L"10"},     {OsGeneration::k11, L"11"},
    {OsGeneration::kServer, L"Server"},
}};

constexpr std::array<DWORD, 5> kVersionFields = {VER_MAJORVERSION, VER_MINORVERSION, VER_BUILDNUMBER,
                                                 VER_SERVICEPACKMAJOR, VER_PRODUCT_TYPE};

/// Compares the fields of `version` that are in `typeMask` with the running system, each by `condition`.
bool Verify(OSVERSIONINFOEXW version, DWORD typeMask, BYTE condition) {
  version.dwOSVersionInfoSize = sizeof(version);
  ULONGLONG conditions = 0;
  for (const DWORD field : kVersionFields) {
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
  // KEY_WOW64_64KEY names the 64-bit view, which a 64-bit process gets without it too.
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
  for (const GenerationName& entry : kGenerationNames) {
    if (entry.generation == generation) return entry.name;
  }
  return L"unknown";
}

OsGeneration ClassifyOsGeneration() {
  if (IsWindows11OrGreater()) return OsGeneration::k11;
  if (IsVersionOrGreater(10, 0, 0)) return OsGeneration::k10;
  if (IsVersionOrGreater(6, 3, 0)) return OsGeneration::k81;
  if (IsVersionOrGreater(6, 2, 0)) return OsGeneration::k8;
  if (IsVersionOrGreater(6, 1, 0)) return OsGeneration::k7;
  if (IsVersionOrGreater(6, 0, 0)) return OsGeneration::kVista;
  if (IsVersionOrGreater(5, 1, 0)) return OsGeneration::kXp;
  // Compatibility: the test for a server is the last one, so a server is normally named by its version.
  return IsServer() ? OsGeneration::kServer : OsGeneration::kUnknown;
}

const std::string& OsVersionWithReleaseId() {
  static const std::string description = DescribeOs();
  return description;
}

}  // namespace identity
