// The adapters and what the registry says about them are the test's own.
#include "identity/mac_address.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <iphlpapi.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "identity/physical_adapter.h"
#include "support/child_process.h"
#include "support/import_patch.h"
#include "support/registry_scratch.h"
#include "win/registry_key.h"

using identity::AdapterKind;
using identity::ClassifyAdapter;
using identity::ProbeMacAddress;
using testing_support::ImportPatch;
using testing_support::RegistryScratch;

namespace {

constexpr wchar_t kMachine[] = L"Software\\BorvantaUtilTests\\Machine";
constexpr wchar_t kClass[] = L"SYSTEM\\CurrentControlSet\\Control\\Class\\{4D36E972-E325-11CE-BFC1-08002bE10318}";

constexpr UINT kWired = 6;
constexpr UINT kWireless = 71;

/// What the two adapters of GetTwoAdapters are.
std::array<UINT, 2> types{};

/// Two adapters in this order: "one" with the address 000A0B0C0D0E, "two" with 00000102030405FF.
ULONG WINAPI GetTwoAdapters(IP_ADAPTER_INFO* adapters, ULONG* size) {
  constexpr ULONG kSize = 2 * sizeof(IP_ADAPTER_INFO);
  if (!adapters || *size < kSize) {
    *size = kSize;
    return 111;
  }
  const auto* const bytes = reinterpret_cast<const BYTE*>(adapters);
  EXPECT_TRUE(std::all_of(bytes, bytes + kSize, [](BYTE byte) { return byte == 0; }));
  constexpr std::array<BYTE, 6> kOne = {0x00, 0x0A, 0x0B, 0x0C, 0x0D, 0x0E};
  constexpr std::array<BYTE, 8> kTwo = {0x00, 0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0xFF};
  IP_ADAPTER_INFO& one = adapters[0];
  IP_ADAPTER_INFO& two = adapters[1];
  one.Next = &two;
  two.Next = nullptr;
  std::memcpy(one.AdapterName, "one", 4);
  std::memcpy(two.AdapterName, "two", 4);
  one.AddressLength = static_cast<UINT>(kOne.size());
  two.AddressLength = static_cast<UINT>(kTwo.size());
  std::memcpy(one.Address, kOne.data(), kOne.size());
  std::memcpy(two.Address, kTwo.data(), kTwo.size());
  one.Type = types[0];
  two.Type = types[1];
  return ERROR_SUCCESS;
}

ULONG WINAPI RefuseAdapters(IP_ADAPTER_INFO* /*adapters*/, ULONG* /*size*/) {
  return ERROR_NO_DATA;
}

/// While it lives, this process sees an HKEY_LOCAL_MACHINE of the test's own, so that the machine's is left alone.
class MacAddress : public testing::Test {
 protected:
  void SetUp() override {
    types = {kWired, kWired};
    machine_.Set(nullptr, REG_NONE, nullptr, 0);
    key_ = win::RegistryKey::Open(HKEY_CURRENT_USER, kMachine, KEY_ALL_ACCESS);
    ASSERT_EQ(RegOverridePredefKey(HKEY_LOCAL_MACHINE, key_.Get()), ERROR_SUCCESS);
  }
  void TearDown() override { RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr); }

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

  const RegistryScratch machine_{HKEY_CURRENT_USER, kMachine};
  win::RegistryKey key_;
  const ImportPatch twoAdapters_{"GetAdaptersInfo", &GetTwoAdapters};
};

}  // namespace

// Prints the names of the machine's adapters. Called by tests/faults/machine.js.
CHILD_MAIN(ListAdapters) {
  std::vector<IP_ADAPTER_INFO> buffer(64);
  auto size = static_cast<ULONG>(buffer.size() * sizeof(IP_ADAPTER_INFO));
  if (GetAdaptersInfo(buffer.data(), &size) != ERROR_SUCCESS) return 1;
  for (const IP_ADAPTER_INFO* adapter = buffer.data(); adapter; adapter = adapter->Next)
    std::printf("%s\n", adapter->AdapterName);
  return 0;
}

TEST_F(MacAddress, IsThatOfTheFirstWiredPhysicalAdapter) {
  Describe(L"0000", L"two", 0x84);
  Describe(L"0001", L"one", 0x84);
  EXPECT_EQ(Probe(true), L"000A0B0C0D0E") << "the system's order, not the registry's";
  types = {kWireless, kWired};
  EXPECT_EQ(Probe(true), L"00000102030405FF") << "a wired one after a wireless one";
}

TEST_F(MacAddress, IsThatOfTheLastWirelessAdapterWhereNoneIsWired) {
  types = {kWireless, kWireless};
  Describe(L"0000", L"one", 0x4);
  EXPECT_EQ(Probe(false), L"000A0B0C0D0E");
  Describe(L"0001", L"two", 0x4);
  EXPECT_EQ(Probe(false), L"00000102030405FF");
}

TEST_F(MacAddress, IsEmptyWithoutAPhysicalAdapter) {
  EXPECT_EQ(Probe(false), L"") << "no class key";
  Describe(L"0000", L"one", 0x5);
  Describe(L"0001", L"{00000000-0000-0000-0000-00000000FFFF}", 0x4);
  EXPECT_EQ(Probe(false), L"") << "one virtual, the other unknown";
  Describe(L"0000", L"one", 0x4);
  EXPECT_EQ(Probe(true), L"000A0B0C0D0E") << "the same tree does answer";
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
