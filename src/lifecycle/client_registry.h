#pragma once

#include <windows.h>

#include "win/registry_key.h"

namespace lifecycle {

/// The client's keys below HKEY_LOCAL_MACHINE, shared with its launcher and its 32-bit installer.
/// The install key: its default value is the install directory.
inline constexpr wchar_t kInstallKey[] = L"SOFTWARE\\Borvanta";
/// Where the installer leaves word of what it has just installed.
inline constexpr wchar_t kInstallNotesKey[] = L"SOFTWARE\\Borvanta\\version";
/// Where crash marks are kept.
inline constexpr wchar_t kMarkKey[] = L"SOFTWARE\\Borvanta\\mark";

/// Opens one of the client's keys for `access`, always in the 32-bit view, in which the installer writes. The key is
/// not created: the result is false when it is missing or access is refused.
inline win::RegistryKey OpenClientKey(const wchar_t* path, REGSAM access) noexcept {
  return win::RegistryKey::Open(HKEY_LOCAL_MACHINE, path, access | KEY_WOW64_32KEY);
}

}  // namespace lifecycle
