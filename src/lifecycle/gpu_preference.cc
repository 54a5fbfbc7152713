#include "lifecycle/gpu_preference.h"

#include <windows.h>

#include "win/registry_key.h"

namespace lifecycle {

std::string RemoveGpuPreference(const std::wstring& path) {
  // Deliberately for query only, as the client expects it: the system then refuses the removal. And with no view flag,
  // unlike the client's own keys: this is a key of Windows.
  const auto preferences =
      win::RegistryKey::Open(HKEY_LOCAL_MACHINE, L"Software\\Microsoft\\DirectX\\UserGpuPreferences", KEY_QUERY_VALUE);
  if (!preferences) return "Failed to open key";
  if (!preferences.DeleteValue(path.c_str())) return "Failed to delete key";
  return {};
}

}  // namespace lifecycle
