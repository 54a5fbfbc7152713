#include "gpu_usage/sampler.h"

#include <gtest/gtest.h>

#include <pdhmsg.h>

#include <new>

#include "support/failing_memory.h"
#include "support/import_patch.h"

// Memory that runs out is what no stand-in for PDH can bring about; the script tests have all else.

namespace {

PDH_STATUS WINAPI OpenQuery(LPCWSTR, DWORD_PTR, PDH_HQUERY* query) {
  static int handle;
  *query = &handle;
  return ERROR_SUCCESS;
}

PDH_STATUS WINAPI AddCounter(PDH_HQUERY query, LPCWSTR, DWORD_PTR, PDH_HCOUNTER* counter) {
  *counter = query;
  return ERROR_SUCCESS;
}

PDH_STATUS WINAPI DoNothing(HANDLE) {
  return ERROR_SUCCESS;
}

/// Two instances of value 1; the second name needs more room than the first.
PDH_STATUS WINAPI GetArray(PDH_HCOUNTER, DWORD, LPDWORD size, LPDWORD count, PPDH_FMT_COUNTERVALUE_ITEM_W items) {
  static wchar_t names[2][90] = {
      L"pid_12_luid_0x00000000_0x0000A1B2_phys_0_eng_0_engtype_3D",
      L"pid_12_luid_0x00000000_0x0000A1B2_phys_0_eng_0_and_so_on_and_on_engtype_VideoEncode"};
  *size = 2 * sizeof(*items);
  *count = 2;
  if (!items) return static_cast<PDH_STATUS>(PDH_MORE_DATA);
  for (int index = 0; index < 2; ++index) {
    items[index].szName = names[index];
    items[index].FmtValue.doubleValue = 1.0;
  }
  return ERROR_SUCCESS;
}

}  // namespace

TEST(Sampler, GivesTheZeroedRecordWhereverMemoryRunsOutAndWorksAgain) {
  const testing_support::ImportPatch open("PdhOpenQueryW", &OpenQuery);
  const testing_support::ImportPatch add("PdhAddCounterW", &AddCounter);
  const testing_support::ImportPatch collect("PdhCollectQueryData", &DoNothing);
  const testing_support::ImportPatch get("PdhGetFormattedCounterArrayW", &GetArray);
  const testing_support::ImportPatch remove("PdhRemoveCounter", &DoNothing);
  const testing_support::ImportPatch close("PdhCloseQuery", &DoNothing);
  using testing_support::allocationsLeft;
  gpu_usage::Sampler sampler;
  sampler.Reinitialise();
  int refused = 0;
  for (bool succeeded = false; !succeeded; ++refused) {
    ASSERT_LT(refused, 20);
    gpu_usage::GpuProcessUsageResult result;
    bool thrown = false;
    allocationsLeft = refused;
    try {
      sampler.Sample(12, 34, result);
    } catch (const std::bad_alloc&) {
      thrown = true;
    }
    allocationsLeft = -1;
    succeeded = result.has3d;
    EXPECT_EQ(result.hasEnc, succeeded);
    EXPECT_EQ(result.sys3d, succeeded ? 1.0 : 0.0);
    EXPECT_EQ(thrown, !succeeded && refused > 0) << "without room for the list itself nothing is thrown";

    sampler.Sample(12, 34, result = {});
    EXPECT_EQ(result.sysEnc, 1.0) << "the lock is free and the query still open";
  }
  EXPECT_GE(refused, 4) << "the list, the markers, a name, a longer name";
}
