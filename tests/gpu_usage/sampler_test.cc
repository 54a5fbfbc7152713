#include "gpu_usage/sampler.h"

#include <gtest/gtest.h>

#include <pdhmsg.h>

#include <atomic>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/import_patch.h"

using testing_support::ImportPatch;

namespace {

// A PDH with one counter, which has one instance.

using Calls = std::vector<std::string>;

std::atomic<int> inside = 0;
std::mutex lock;
Calls calls;
/// The call that does nothing.
std::string idle;
std::set<HANDLE> openHandles;

/// One call, on a handle that is to be open unless it is null. Returns whether the work was done.
template <typename Work>
bool Call(const char* name, HANDLE handle, Work work) {
  EXPECT_EQ(inside.fetch_add(1), 0) << name;
  // Time for another call to come in, if nothing keeps it out.
  Sleep(1);
  const std::lock_guard guard(lock);
  calls.emplace_back(name);
  EXPECT_TRUE(!handle || openHandles.contains(handle)) << name;
  if (idle != name) work();
  inside.fetch_sub(1);
  return idle != name;
}

/// Never the same twice, so that a closed handle is known as such for ever.
PDH_STATUS Open(const char* name, HANDLE parent, HANDLE* handle) {
  static uintptr_t last = 0;
  Call(name, parent, [&] { *handle = *openHandles.insert(reinterpret_cast<HANDLE>(++last)).first; });
  return ERROR_SUCCESS;
}

PDH_STATUS WINAPI OpenQuery(LPCWSTR source, DWORD_PTR userData, PDH_HQUERY* query) {
  EXPECT_TRUE(!source && !userData);
  return Open("PdhOpenQueryW", nullptr, query);
}

PDH_STATUS WINAPI AddCounter(PDH_HQUERY query, LPCWSTR path, DWORD_PTR userData, PDH_HCOUNTER* counter) {
  EXPECT_STREQ(path, L"\\GPU Engine(*)\\Utilization Percentage");
  EXPECT_EQ(userData, 0U);
  return Open("PdhAddCounterW", query, counter);
}

PDH_STATUS WINAPI Collect(PDH_HQUERY query) {
  return Call("PdhCollectQueryData", query, [] {}) ? ERROR_SUCCESS : static_cast<PDH_STATUS>(PDH_NO_DATA);
}

PDH_STATUS WINAPI GetArray(PDH_HCOUNTER counter, DWORD format, LPDWORD size, LPDWORD count,
                           PPDH_FMT_COUNTERVALUE_ITEM_W items) {
  EXPECT_EQ(format, DWORD{PDH_FMT_DOUBLE});
  EXPECT_EQ(*size, items ? sizeof(*items) : 0U);
  Call("PdhGetFormattedCounterArrayW", counter, [&] {
    static wchar_t name[] = L"pid_12_engtype_3D";
    *size = DWORD{sizeof(*items)};
    *count = 1;
    if (!items) return;
    items->szName = name;
    items->FmtValue.doubleValue = 12.5;
  });
  return items ? ERROR_SUCCESS : static_cast<PDH_STATUS>(PDH_MORE_DATA);
}

PDH_STATUS WINAPI RemoveCounter(PDH_HCOUNTER counter) {
  Call("PdhRemoveCounter", counter, [&] { openHandles.erase(counter); });
  return ERROR_SUCCESS;
}

PDH_STATUS WINAPI CloseQuery(PDH_HQUERY query) {
  Call("PdhCloseQuery", query, [&] { openHandles.erase(query); });
  return ERROR_SUCCESS;
}

class SamplerTest : public testing::Test {
 protected:
  SamplerTest() { calls.clear(); }

  double Sample() {
    gpu_usage::GpuProcessUsageResult result;
    sampler_.Sample(12, 34, result);
    return result.nativeProc3d;
  }
  static Calls NewCalls() { return std::exchange(calls, {}); }

  const ImportPatch openQuery_{"PdhOpenQueryW", &OpenQuery};
  const ImportPatch addCounter_{"PdhAddCounterW", &AddCounter};
  const ImportPatch collect_{"PdhCollectQueryData", &Collect};
  const ImportPatch getArray_{"PdhGetFormattedCounterArrayW", &GetArray};
  const ImportPatch removeCounter_{"PdhRemoveCounter", &RemoveCounter};
  const ImportPatch closeQuery_{"PdhCloseQuery", &CloseQuery};
  gpu_usage::Sampler sampler_;
};

}  // namespace

TEST_F(SamplerTest, OpensWithTheFirstSampleReadsWithTheNextAndStartsOverWhenTold) {
  EXPECT_EQ(Sample(), 0.0);
  EXPECT_EQ(NewCalls(), (Calls{"PdhOpenQueryW", "PdhAddCounterW", "PdhCollectQueryData"}));
  EXPECT_EQ(Sample(), 12.5);
  EXPECT_EQ(NewCalls(), (Calls{"PdhCollectQueryData", "PdhGetFormattedCounterArrayW", "PdhGetFormattedCounterArrayW"}));
  sampler_.Reinitialise();
  EXPECT_EQ(NewCalls(),
            (Calls{"PdhRemoveCounter", "PdhCloseQuery", "PdhOpenQueryW", "PdhAddCounterW", "PdhCollectQueryData"}));
  EXPECT_EQ(Sample(), 12.5);
}

TEST_F(SamplerTest, ReadsTheLastValuesWhenACollectionFails) {
  Sample();
  idle = "PdhCollectQueryData";
  EXPECT_EQ(Sample(), 12.5);
  idle.clear();
}

TEST_F(SamplerTest, OpensWithTheNextSampleWhatDidNotComeThoughTheStatusIsGood) {
  for (const char* const missing : {"PdhOpenQueryW", "PdhAddCounterW"}) {
    idle = missing;
    sampler_.Reinitialise();
    EXPECT_EQ(Sample(), 0.0);
    EXPECT_EQ(NewCalls().back(), missing);
    idle.clear();
    EXPECT_EQ(Sample(), 0.0);
    EXPECT_EQ(Sample(), 12.5);
  }
}

TEST_F(SamplerTest, KeepsCallsFromSeveralThreadsApart) {
  std::vector<std::thread> threads;
  for (int index = 0; index < 3; ++index) {
    threads.emplace_back([this] {
      for (int turn = 0; turn < 5; ++turn) {
        Sample();
        sampler_.Reinitialise();
      }
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(openHandles.size(), 2U);
}
