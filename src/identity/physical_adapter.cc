#include "identity/physical_adapter.h"

#include <array>
#include <cwchar>

#include "win/registry_key.h"

namespace identity {

namespace {

constexpr wchar_t kNetworkClass[] =
    L"SYSTEM\\CurrentControlSet\\Control\\Class\\{4D36E972-E325-11CE-BFC1-08002bE10318}";
// NCF_VIRTUAL and NCF_PHYSICAL of the network set-up.
constexpr DWORD kVirtual = 0x1;
constexpr DWORD kPhysical = 0x4;

bool IsAdapter(const win::RegistryKey& key, const std::wstring& name) {
  std::array<wchar_t, 261> id{};  // 520 bytes, and a terminator for a value without one.
  return key.ReadData(L"NetCfgInstanceId", id.data(), 520) && _wcsicmp(id.data(), name.c_str()) == 0;
}

}  // namespace

AdapterKind ClassifyAdapter(const std::wstring& name) {
  const auto networkClass = win::RegistryKey::Open(HKEY_LOCAL_MACHINE, kNetworkClass, KEY_READ);
  for (DWORD index = 0;; ++index) {
    const std::wstring subKey = networkClass.SubKeyName(index);
    if (subKey.empty()) return AdapterKind::kUnknown;
    const auto key =
        win::RegistryKey::Open(HKEY_LOCAL_MACHINE, (std::wstring(kNetworkClass) + L"\\" + subKey).c_str(), KEY_READ);
    if (!IsAdapter(key, name)) continue;
    DWORD characteristics = 0;
    if (!key.ReadData(L"Characteristics", &characteristics, sizeof(characteristics))) return AdapterKind::kUnknown;
    return KindOfCharacteristics(characteristics);
  }
}

AdapterKind KindOfCharacteristics(DWORD characteristics) {
  if (characteristics & kVirtual) return AdapterKind::kVirtual;
  return characteristics & kPhysical ? AdapterKind::kPhysical : AdapterKind::kUnknown;
}

}  // namespace identity
