#include "lifecycle/firewall_rule.h"

#include <gtest/gtest.h>

#include <windows.h>
// Needs windows.h.
#include <oleauto.h>

#include <array>
#include <new>
#include <string>

#include "support/import_patch.h"

using lifecycle::RemoveFirewallRule;
using testing_support::ImportPatch;
using testing_support::RealFunction;

namespace {

void WINAPI UnexpectedCall() {
  ADD_FAILURE() << "a method that nothing here should call";
}

/// A COM object by its table of methods, as other compilers and languages see it.
struct FakeObject {
  void** methods = nullptr;
  int references = 0;
};

using MethodTable = std::array<void*, 40>;

/// What the stand-ins answer, and what they were asked for.
struct {
  HRESULT creation = S_OK;
  HRESULT rules = S_OK;
  HRESULT removal = S_OK;
  bool outOfMemory = false;
  int strings = 0;
  std::wstring removed;
  FakeObject policyObject;
  FakeObject rulesObject;
} firewall;

ULONG WINAPI Release(FakeObject* object) {
  return static_cast<ULONG>(--object->references);
}

HRESULT WINAPI GetRules(FakeObject*, FakeObject** rules) {
  if (FAILED(firewall.rules)) return firewall.rules;
  firewall.rulesObject.references++;
  *rules = &firewall.rulesObject;
  return firewall.rules;
}

HRESULT WINAPI Remove(FakeObject*, BSTR name) {
  firewall.removed.assign(name, SysStringLen(name));
  return firewall.removal;
}

HRESULT WINAPI CreatePolicy(REFCLSID classId, IUnknown* outer, DWORD context, REFIID interfaceId, void** object) {
  GUID expected{};
  CLSIDFromString(L"{E2B3C97F-6AE1-41AC-817A-F6F92166D7DD}", &expected);
  EXPECT_TRUE(IsEqualGUID(classId, expected));
  CLSIDFromString(L"{98325047-C671-4174-8D81-DEFCD3F03186}", &expected);
  EXPECT_TRUE(IsEqualGUID(interfaceId, expected));
  EXPECT_EQ(outer, nullptr);
  EXPECT_EQ(context, static_cast<DWORD>(CLSCTX_INPROC_SERVER));
  if (FAILED(firewall.creation)) return firewall.creation;
  firewall.policyObject.references++;
  *object = &firewall.policyObject;
  return firewall.creation;
}

auto* const realSysAllocStringLen = RealFunction<decltype(SysAllocStringLen)>(L"oleaut32.dll", "SysAllocStringLen");
BSTR WINAPI AllocateString(const OLECHAR* text, UINT length) {
  if (firewall.outOfMemory) return nullptr;
  ++firewall.strings;
  return realSysAllocStringLen(text, length);
}

auto* const realSysFreeString = RealFunction<decltype(SysFreeString)>(L"oleaut32.dll", "SysFreeString");
void WINAPI FreeString(BSTR text) {
  --firewall.strings;
  realSysFreeString(text);
}

/// A firewall service that can be made to fail. Afterwards nothing of it may be left.
class FirewallRule : public testing::Test {
 protected:
  FirewallRule() {
    policyMethods_.fill(reinterpret_cast<void*>(&UnexpectedCall));
    rulesMethods_ = policyMethods_;
    policyMethods_[2] = rulesMethods_[2] = reinterpret_cast<void*>(&Release);
    policyMethods_[18] = reinterpret_cast<void*>(&GetRules);
    rulesMethods_[9] = reinterpret_cast<void*>(&Remove);
    firewall = {};
    firewall.policyObject.methods = policyMethods_.data();
    firewall.rulesObject.methods = rulesMethods_.data();
  }

  ~FirewallRule() override {
    EXPECT_EQ(firewall.policyObject.references, 0);
    EXPECT_EQ(firewall.rulesObject.references, 0);
    EXPECT_EQ(firewall.strings, 0);
  }

  MethodTable policyMethods_{};
  MethodTable rulesMethods_{};
  const ImportPatch creation_{"CoCreateInstance", &CreatePolicy};
  const ImportPatch allocation_{"SysAllocStringLen", &AllocateString};
  const ImportPatch freeing_{"SysFreeString", &FreeString};
};

}  // namespace

TEST_F(FirewallRule, IsRemovedByItsWholeName) {
  using namespace std::string_literals;
  EXPECT_EQ(RemoveFirewallRule(L"rule 5.1\0\xd800 end"s), "");
  EXPECT_EQ(firewall.removed, L"rule 5.1\0\xd800 end"s);
  firewall.removal = S_FALSE;
  EXPECT_EQ(RemoveFirewallRule(std::wstring(1'000'000, L'7')), "");
  EXPECT_EQ(firewall.removed.size(), 1'000'000U);
}

TEST_F(FirewallRule, NamesTheStepThatFailedAndItsCode) {
  firewall.removal = E_ACCESSDENIED;
  EXPECT_EQ(RemoveFirewallRule(L"rule"), "Fail to Remove-2147024891");
  firewall.rules = E_OUTOFMEMORY;
  EXPECT_EQ(RemoveFirewallRule(L"rule"), "Fail to get_Rules-2147024882");
  firewall.creation = CO_E_NOTINITIALIZED;
  EXPECT_EQ(RemoveFirewallRule(L"rule"), "Fail to CoInitializeEx-2147221008");
}

TEST_F(FirewallRule, ReleasesEverythingWhenThereIsNoMemoryForTheName) {
  firewall.outOfMemory = true;
  EXPECT_THROW(RemoveFirewallRule(L"rule"), std::bad_alloc);
  EXPECT_EQ(firewall.removed, L"");
}
