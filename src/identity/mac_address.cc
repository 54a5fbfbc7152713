#include "identity/mac_address.h"

#include <windows.h>

#include <iphlpapi.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <cwchar>

#include "identity/upper_hex.h"
#include "win/registry_key.h"
#include "win/text.h"
#include "win/unique_resource.h"

namespace identity {

namespace {

/// Below this key each network adapter has a sub-key that describes it.
constexpr wchar_t kNetworkClass[] =
    L"SYSTEM\\CurrentControlSet\\Control\\Class\\{4D36E972-E325-11CE-BFC1-08002bE10318}";
// Bits of the value "Characteristics" in such a sub-key. The names are those of Windows' network set-up.
constexpr DWORD kNcfVirtual = 0x1;
constexpr DWORD kNcfPhysical = 0x4;

enum class AdapterKind { kUnknown = 0, kPhysical = 1, kVirtual = 2 };

struct AdapterListTraits {
  using Value = IP_ADAPTER_INFO*;
  static Value Invalid() noexcept { return nullptr; }
  static void Close(Value value) noexcept { GlobalFree(value); }
};

using UniqueAdapterList = win::UniqueResource<AdapterListTraits>;

/// The adapters in the system's order. Null when the system does not list them.
UniqueAdapterList ListAdapters() {
  ULONG size = 0;
  if (GetAdaptersInfo(nullptr, &size) != ERROR_BUFFER_OVERFLOW) return {};
  UniqueAdapterList adapters(static_cast<IP_ADAPTER_INFO*>(GlobalAlloc(GPTR, size)));
  if (!adapters || GetAdaptersInfo(adapters.Get(), &size) != ERROR_SUCCESS) return {};
  return adapters;
}

/// The GUID of the adapter's interface, as a string.
std::wstring NameOf(const IP_ADAPTER_INFO& adapter) {
  const char* const name = adapter.AdapterName;
  return win::ThreadAnsiToWide(std::string(name, strnlen(name, sizeof(adapter.AdapterName))));
}

std::wstring AddressOf(const IP_ADAPTER_INFO& adapter) {
  std::wstring address;
  const size_t length = std::min<size_t>(adapter.AddressLength, sizeof(adapter.Address));
  for (size_t i = 0; i < length; ++i)
    address += UpperHex(adapter.Address[i], 2);
  return address;
}

/// Whether the sub-key `key` describes the adapter `name`.
bool DescribesAdapter(const win::RegistryKey& key, const std::wstring& name) {
  std::array<wchar_t, 261> id{};  // Room for 520 bytes and for a terminator, which the value may lack.
  return key.ReadData(L"NetCfgInstanceId", id.data(), 520) && _wcsicmp(id.data(), name.c_str()) == 0;
}

AdapterKind KindIn(const win::RegistryKey& key) {
  DWORD characteristics = 0;
  if (!key.ReadData(L"Characteristics", &characteristics, sizeof(characteristics))) return AdapterKind::kUnknown;
  if (characteristics & kNcfVirtual) return AdapterKind::kVirtual;
  return characteristics & kNcfPhysical ? AdapterKind::kPhysical : AdapterKind::kUnknown;
}

/// The kind of the adapter `name`, from the first sub-key that describes it.
AdapterKind ClassifyAdapter(const std::wstring& name) {
  const auto networkClass = win::RegistryKey::Open(HKEY_LOCAL_MACHINE, kNetworkClass, KEY_READ);
  for (DWORD index = 0;; ++index) {
    const std::wstring subKey = networkClass.SubKeyName(index);
    if (subKey.empty()) return AdapterKind::kUnknown;
    const std::wstring path = std::wstring(kNetworkClass) + L"\\" + subKey;
    const auto key = win::RegistryKey::Open(HKEY_LOCAL_MACHINE, path.c_str(), KEY_READ);
    if (DescribesAdapter(key, name)) return KindIn(key);
  }
}

}  // namespace

bool ProbeMacAddress(std::wstring& address) {
  const UniqueAdapterList adapters = ListAdapters();
  for (const IP_ADAPTER_INFO* adapter = adapters.Get(); adapter; adapter = adapter->Next) {
    if (ClassifyAdapter(NameOf(*adapter)) != AdapterKind::kPhysical) continue;
    address = AddressOf(*adapter);
    if (adapter->Type == MIB_IF_TYPE_ETHERNET) return true;
  }
  return false;
}

}  // namespace identity
