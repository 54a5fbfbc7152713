// The adapters are the machine's own; what the registry says about them is written by the test.
#include "identity/mac_address.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <iphlpapi.h>

#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

#include "identity/physical_adapter.h"
#include "support/child_process.h"
#include "support/import_patch.h"
#include "support/registry_scratch.h"
#include "win/registry_key.h"
#include "win/text.h"

using identity::AdapterKind;
using identity::ClassifyAdapter;
using identity::ProbeMacAddress;
using testing_support::ImportPatch;
using testing_support::RegistryScratch;

namespace {

constexpr wchar_t kMachine[] = L"Software\\BorvantaUtilTests\\Machine";
constexpr wchar_t kClass[] = L"SYSTEM\\CurrentControlSet\\Control\\Class\\{4D36E972-E325-11CE-BFC1-08002bE10318}";

auto* const realGetAdaptersInfo =
    testing_support::RealFunction<decltype(GetAdaptersInfo)>(L"iphlpapi.dll", "GetAdaptersInfo");

/// The real adapters, with the first `wireless` of them told to be of that kind. Patched in, because this machine may
/// have wired ones only.
size_t wireless = 0;

ULONG WINAPI GetAdaptersSomeWireless(IP_ADAPTER_INFO* adapters, ULONG* size) {
  const ULONG status = realGetAdaptersInfo(adapters, size);
  if (status != ERROR_SUCCESS) return status;
  size_t index = 0;
  for (; adapters; adapters = adapters->Next)
    adapters->Type = index++ < wireless ? 71 : MIB_IF_TYPE_ETHERNET;
  return status;
}

ULONG WINAPI RefuseAdapters(IP_ADAPTER_INFO* /*adapters*/, ULONG* /*size*/) {
  return ERROR_NO_DATA;
}

struct Adapter {
  std::wstring name;
  std::wstring address;
};

std::vector<Adapter> RealAdapters() {
  std::vector<IP_ADAPTER_INFO> buffer(64);
  auto size = static_cast<ULONG>(buffer.size() * sizeof(IP_ADAPTER_INFO));
  std::vector<Adapter> adapters;
  if (realGetAdaptersInfo(buffer.data(), &size) != ERROR_SUCCESS) return adapters;
  for (const IP_ADAPTER_INFO* adapter = buffer.data(); adapter; adapter = adapter->Next) {
    std::wstring address;
    for (UINT i = 0; i < adapter->AddressLength; ++i) {
      wchar_t digits[3];
      std::swprintf(digits, 3, L"%02X", adapter->Address[i]);
      address += digits;
    }
    adapters.push_back({win::NarrowToWide(CP_ACP, adapter->AdapterName), address});
  }
  return adapters;
}

/// While it lives, this process sees an HKEY_LOCAL_MACHINE of the test's own, so that the machine's is left alone.
class MacAddress : public testing::Test {
 protected:
  void SetUp() override {
    if (adapters_.size() < 2) GTEST_SKIP() << "this machine has " << adapters_.size() << " network adapters";
    machine_.Set(nullptr, REG_NONE, nullptr, 0);
    key_ = win::RegistryKey::Open(HKEY_CURRENT_USER, kMachine, KEY_ALL_ACCESS);
    ASSERT_EQ(RegOverridePredefKey(HKEY_LOCAL_MACHINE, key_.Get()), ERROR_SUCCESS);
  }
  void TearDown() override {
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
    wireless = 0;
  }

  /// Writes the class sub-key `index` for the adapter `name`.
  void Describe(const wchar_t* index, const std::wstring& name, DWORD characteristics) {
    const auto key =
        win::RegistryKey::Create(key_.Get(), (std::wstring(kClass) + L"\\" + index).c_str(), KEY_ALL_ACCESS);
    ASSERT_TRUE(key.WriteText(L"NetCfgInstanceId", name));
    RegSetValueExW(key.Get(), L"Characteristics", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&characteristics), 4);
  }

  /// What the probe leaves in the field.
  static std::wstring Probe(bool wired) {
    std::wstring address;
    EXPECT_EQ(ProbeMacAddress(address), wired);
    return address;
  }

  const std::vector<Adapter> adapters_ = RealAdapters();
  const RegistryScratch machine_{HKEY_CURRENT_USER, kMachine};
  win::RegistryKey key_;
  const ImportPatch someWireless_{"GetAdaptersInfo", &GetAdaptersSomeWireless};
};

}  // namespace

// Prints each adapter's name and address.
CHILD_MAIN(ListAdapters) {
  for (const Adapter& adapter : RealAdapters())
    std::cout << win::WideToUtf8(adapter.name + L" " + adapter.address) << "\n";
  return 0;
}

TEST_F(MacAddress, IsThatOfTheFirstWiredPhysicalAdapter) {
  Describe(L"0000", adapters_[1].name, 0x84);
  Describe(L"0001", adapters_[0].name, 0x84);
  EXPECT_EQ(Probe(true), adapters_[0].address) << "the system's order, not the registry's";
  wireless = 1;
  EXPECT_EQ(Probe(true), adapters_[1].address) << "a wired one after a wireless one";
}

TEST_F(MacAddress, IsThatOfTheLastWirelessAdapterWhereNoneIsWired) {
  wireless = adapters_.size();
  Describe(L"0000", adapters_[0].name, 0x4);
  EXPECT_EQ(Probe(false), adapters_[0].address);
  Describe(L"0001", adapters_[1].name, 0x4);
  EXPECT_EQ(Probe(false), adapters_[1].address);
}

TEST_F(MacAddress, IsEmptyWithoutAPhysicalAdapter) {
  EXPECT_EQ(Probe(false), L"") << "no class key";
  Describe(L"0000", adapters_[0].name, 0x5);
  Describe(L"0001", L"{00000000-0000-0000-0000-00000000FFFF}", 0x4);
  EXPECT_EQ(Probe(false), L"") << "one virtual, the others unknown";
  Describe(L"0000", adapters_[0].name, 0x4);
  EXPECT_EQ(Probe(true), adapters_[0].address) << "the same tree does answer";
  const ImportPatch refuse("GetAdaptersInfo", &RefuseAdapters);
  EXPECT_EQ(Probe(false), L"");
}

TEST_F(MacAddress, AdapterIsClassifiedByTheFirstSubKeyThatNamesIt) {
  Describe(L"0001", L"{abcdef00-0000-0000-0000-000000000001}", 0x4);
  Describe(L"0002", L"{ABCDEF00-0000-0000-0000-000000000001}", 0x1);
  Describe(L"0003", L"two", 0x85);
  Describe(L"0004", L"three", 0x80);
  Describe(L"0005", std::wstring(259, L'x'), 0x4);
  Describe(L"0006", std::wstring(260, L'x'), 0x4);
  win::RegistryKey::Create(key_.Get(), (std::wstring(kClass) + L"\\0000").c_str(), KEY_ALL_ACCESS);
  win::RegistryKey::Create(key_.Get(), (std::wstring(kClass) + L"\\0007").c_str(), KEY_ALL_ACCESS)
      .WriteText(L"NetCfgInstanceId", L"silent");
  EXPECT_EQ(ClassifyAdapter(L"{ABCDEF00-0000-0000-0000-000000000001}"), AdapterKind::kPhysical) << "case is ignored";
  EXPECT_EQ(ClassifyAdapter(L"two"), AdapterKind::kVirtual) << "virtual outweighs physical";
  EXPECT_EQ(ClassifyAdapter(L"three"), AdapterKind::kUnknown);
  EXPECT_EQ(ClassifyAdapter(L"silent"), AdapterKind::kUnknown);
  EXPECT_EQ(ClassifyAdapter(L"absent"), AdapterKind::kUnknown);
  EXPECT_EQ(ClassifyAdapter(std::wstring(259, L'x')), AdapterKind::kPhysical);
  EXPECT_EQ(ClassifyAdapter(std::wstring(260, L'x')), AdapterKind::kUnknown) << "longer than 520 bytes";
}
