#include "gpu_usage/sampler.h"

#include <pdhmsg.h>

#include <cstddef>
#include <memory>
#include <new>
#include <type_traits>

#include "gpu_usage/usage_accumulator.h"
#include "win/get_function.h"
#include "win/never_destroyed.h"

namespace gpu_usage {

namespace {

constexpr wchar_t kCounterPath[] = L"\\GPU Engine(*)\\Utilization Percentage";
constexpr auto kMoreData = static_cast<PDH_STATUS>(PDH_MORE_DATA);

/// The functions of PDH that the sampler calls. Before PDH has been loaded, all are null; afterwards none is null.
struct PdhFunctions {
  decltype(&PdhOpenQueryW) openQuery = nullptr;
  decltype(&PdhAddCounterW) addCounter = nullptr;
  decltype(&PdhCollectQueryData) collectQueryData = nullptr;
  decltype(&PdhGetFormattedCounterArrayW) getFormattedCounterArray = nullptr;
  decltype(&PdhRemoveCounter) removeCounter = nullptr;
  decltype(&PdhCloseQuery) closeQuery = nullptr;
};

/// Guarded by the sampler's lock, like the handles that these functions return.
PdhFunctions pdh;

win::NeverDestroyed<Sampler> shared;

/// Loads PDH if it is not loaded yet; false if the system has no such library or the library lacks a function. PDH is
/// not an import of the module, because the rest of the module must work without it. It is never unloaded, because a
/// query may stay open until the process ends.
bool LoadPdh() noexcept {
  if (pdh.openQuery) return true;
  const HMODULE library = LoadLibraryExW(L"pdh.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
  PdhFunctions found;
  const auto find = [library](auto& function, const char* name) {
    function = win::GetFunction<std::remove_reference_t<decltype(function)>>(library, name);
    return function != nullptr;
  };
  if (!find(found.openQuery, "PdhOpenQueryW") || !find(found.addCounter, "PdhAddCounterW") ||
      !find(found.collectQueryData, "PdhCollectQueryData") ||
      !find(found.getFormattedCounterArray, "PdhGetFormattedCounterArrayW") ||
      !find(found.removeCounter, "PdhRemoveCounter") || !find(found.closeQuery, "PdhCloseQuery")) {
    return false;
  }
  pdh = found;
  return true;
}

}  // namespace

void Sampler::QueryTraits::Close(Value value) noexcept {
  pdh.closeQuery(value);
}

void Sampler::CounterTraits::Close(Value value) noexcept {
  pdh.removeCounter(value);
}

void Sampler::OpenAndPrime() noexcept {
  if (!LoadPdh()) return;
  // Compatibility: the status codes are ignored; only the handles show success.
  if (!query_) pdh.openQuery(nullptr, 0, query_.Receive());
  if (!query_) return;
  // Compatibility: not PdhAddEnglishCounterW, so samples are empty on a Windows that has a translated name for this
  // counter.
  if (!counter_) pdh.addCounter(query_.Get(), kCounterPath, 0, counter_.Receive());
  if (!counter_) return;
  pdh.collectQueryData(query_.Get());
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
  // If the collection fails, PDH still has the values of the previous one.
  pdh.collectQueryData(query_.Get());

  DWORD size = 0;
  DWORD count = 0;
  if (pdh.getFormattedCounterArray(counter_.Get(), PDH_FMT_DOUBLE, &size, &count, nullptr) != kMoreData) return;
  const std::unique_ptr<std::byte[]> buffer(new (std::nothrow) std::byte[size]);
  if (!buffer) return;
  // The buffer starts with the items; the names that they point to follow.
  auto* const items = reinterpret_cast<PDH_FMT_COUNTERVALUE_ITEM_W*>(buffer.get());
  const PDH_STATUS status = pdh.getFormattedCounterArray(counter_.Get(), PDH_FMT_DOUBLE, &size, &count, items);
  if (status != ERROR_SUCCESS || count == 0) return;

  UsageAccumulator accumulator(nativePid, gpuPid);
  for (DWORD index = 0; index < count; ++index) {
    // Compatibility: an item counts even if its own status says that it is invalid.
    accumulator.Add(items[index].szName, items[index].FmtValue.doubleValue);
  }
  // Stored only now: if memory runs out before the last item, incomplete sums would look like an idle machine.
  result = accumulator.Result();
}

Sampler& SharedSampler() noexcept {
  return shared.object;
}

}  // namespace gpu_usage
