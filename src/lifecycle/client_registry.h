#pragma once

#include <windows.h>

#include "win/registry_key.h"

namespace lifecycle {

// The client's keys below HKEY_LOCAL_MACHINE. Its launcher and its 32-bit installer use them too.

/// The install key. Its default value is the install directory.
inline constexpr wchar_t kInstallKey[] = L"SOFTWARE\\Borvanta";

/// Where the installer notes which version it has just installed.
inline constexpr wchar_t kInstallNotesKey[] = L"SOFTWARE\\Borvanta\\version";

inline constexpr wchar_t kMarkKey[] = L"SOFTWARE\\Borvanta\\mark";

/// Opens one of the client's keys for `access`, always in the 32-bit view, because the installer writes there. Does not
/// create the key: the result is false when it is missing or access is refused. Any thread.
inline win::RegistryKey OpenClientKey(const wchar_t* path, REGSAM access) noexcept {
  return win::RegistryKey::Open(HKEY_LOCAL_MACHINE, path, access | KEY_WOW64_32KEY);
}

}  // namespace lifecycle
