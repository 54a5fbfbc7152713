#include "lifecycle/old_version.h"

#include <windows.h>
// Needs windows.h.
#include <netfw.h>
#include <objbase.h>

#include "win/com.h"
#include "win/registry_key.h"

namespace lifecycle {

namespace {

constexpr CLSID kNetFwPolicy2 = {0xE2B3C97F, 0x6AE1, 0x41AC, {0x81, 0x7A, 0xF6, 0xF9, 0x21, 0x66, 0xD7, 0xDD}};
constexpr IID kINetFwPolicy2 = {0x98325047, 0xC671, 0x4174, {0x8D, 0x81, 0xDE, 0xFC, 0xD3, 0xF0, 0x31, 0x86}};

std::string ErrorText(const char* step, HRESULT code) {
  return step + std::to_string(code);
}

}  // namespace

std::string RemoveGpuPreference(const std::wstring& path) {
  // Compatibility: the key is opened for query only, so Windows refuses the removal. Unlike for the client's own keys,
  // there is no flag for the 32-bit view, because this key belongs to Windows.
  const auto preferences =
      win::RegistryKey::Open(HKEY_LOCAL_MACHINE, L"Software\\Microsoft\\DirectX\\UserGpuPreferences", KEY_QUERY_VALUE);
  if (!preferences) return "Failed to open key";
  if (!preferences.DeleteValue(path.c_str())) return "Failed to delete key";
  return {};
}

std::string RemoveFirewallRule(const std::wstring& name) {
  win::UniqueCom<INetFwPolicy2> policy;
  HRESULT status = CoCreateInstance(kNetFwPolicy2, nullptr, CLSCTX_INPROC_SERVER, kINetFwPolicy2,
                                    reinterpret_cast<void**>(policy.Receive()));
  // Compatibility: the error text names a function that was not called.
  if (FAILED(status)) return ErrorText("Fail to CoInitializeEx", status);
  win::UniqueCom<INetFwRules> rules;
  status = policy.Get()->get_Rules(rules.Receive());
  if (FAILED(status)) return ErrorText("Fail to get_Rules", status);
  status = rules.Get()->Remove(win::MakeBstr(name).Get());
  if (FAILED(status)) return ErrorText("Fail to Remove", status);
  return {};
}

}  // namespace lifecycle
