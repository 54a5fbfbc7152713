#include "identity/mac_address.h"

#include <windows.h>

#include <iphlpapi.h>

#include <algorithm>
#include <cstring>

#include "identity/physical_adapter.h"
#include "identity/upper_hex.h"
#include "win/text.h"
#include "win/unique_resource.h"

namespace identity {

namespace {

struct AdapterListTraits {
  using Value = IP_ADAPTER_INFO*;
  static Value Invalid() noexcept { return nullptr; }
  static void Close(Value value) noexcept { GlobalFree(value); }
};

using UniqueAdapterList = win::UniqueResource<AdapterListTraits>;

/// The adapters in the system's order; null when the system does not tell them.
UniqueAdapterList ListAdapters() {
  ULONG size = 0;
  if (GetAdaptersInfo(nullptr, &size) != ERROR_BUFFER_OVERFLOW) return {};
  UniqueAdapterList adapters(static_cast<IP_ADAPTER_INFO*>(GlobalAlloc(GPTR, size)));
  if (!adapters || GetAdaptersInfo(adapters.Get(), &size) != ERROR_SUCCESS) return {};
  return adapters;
}

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
