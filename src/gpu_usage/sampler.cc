#include "gpu_usage/sampler.h"

#include <pdhmsg.h>

#include <cstddef>
#include <memory>
#include <new>

#include "gpu_usage/usage_accumulator.h"
#include "win/never_destroyed.h"

namespace gpu_usage {

namespace {

constexpr wchar_t kCounterPath[] = L"\\GPU Engine(*)\\Utilization Percentage";
constexpr auto kMoreData = static_cast<PDH_STATUS>(PDH_MORE_DATA);

win::NeverDestroyed<Sampler> shared;

}  // namespace

void Sampler::OpenAndPrime() noexcept {
  // The handles alone tell success; the statuses are deliberately not looked at.
  if (!query_) PdhOpenQueryW(nullptr, 0, query_.Receive());
  if (!query_) return;
  // Deliberately not PdhAddEnglishCounterW, as the client has always had it: where Windows' language has its own name
  // for the counter, there is none.
  if (!counter_) PdhAddCounterW(query_.Get(), kCounterPath, 0, counter_.Receive());
  if (!counter_) return;
  PdhCollectQueryData(query_.Get());
}

void Sampler::Reinitialise() {
  const std::lock_guard lock(mutex_);
  counter_.Reset();
  query_.Reset();
  OpenAndPrime();
}

void Sampler::Sample(int32_t nativePid, int32_t gpuPid, GpuProcessUsageResult& result) {
  const std::lock_guard lock(mutex_);
  if (!query_ || !counter_) {
    OpenAndPrime();
    return;
  }
  // A failed collection is no reason to stop: PDH still has the values of the one before.
  PdhCollectQueryData(query_.Get());

  DWORD size = 0;
  DWORD count = 0;
  if (PdhGetFormattedCounterArrayW(counter_.Get(), PDH_FMT_DOUBLE, &size, &count, nullptr) != kMoreData) return;
  const std::unique_ptr<std::byte[]> buffer(new (std::nothrow) std::byte[size]);
  if (!buffer) return;
  // The items come first in the buffer, the names that they point to behind them.
  auto* const items = reinterpret_cast<PDH_FMT_COUNTERVALUE_ITEM_W*>(buffer.get());
  const PDH_STATUS status = PdhGetFormattedCounterArrayW(counter_.Get(), PDH_FMT_DOUBLE, &size, &count, items);
  if (status != ERROR_SUCCESS || count == 0) return;

  UsageAccumulator accumulator(nativePid, gpuPid);
  for (DWORD index = 0; index < count; ++index) {
    // The item's own status is deliberately not looked at.
    accumulator.Add(items[index].szName, items[index].FmtValue.doubleValue);
  }
  // All or nothing: half the sums would look like a quiet machine.
  result = accumulator.Result();
}

Sampler& SharedSampler() noexcept {
  return shared.object;
}

}  // namespace gpu_usage
