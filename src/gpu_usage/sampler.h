#pragma once

#include <windows.h>

#include <pdh.h>

#include <cstdint>
#include <mutex>

#include "gpu_usage/gpu_process_usage_result.h"
#include "win/unique_resource.h"

namespace gpu_usage {

/// Reads the system's counter of GPU engine utilisation. One PDH query stays open from sample to sample, so that a
/// sample measures the time since the previous collection, whoever made it. Where PDH or the counter is missing, every
/// sample is empty and nothing else is told.
///
/// Any thread; operations wait for one another, for PDH's whole time. A lock that cannot be taken throws
/// std::system_error.
class Sampler {
 public:
  /// Starts over with a new query and takes the collection that the next sample is measured from.
  void Reinitialise();

  /// Takes a sample into `result`, a zeroed record; see UsageAccumulator for the two ids. The record stays zeroed when
  /// there is nothing to read: without an open query (which this call then opens), when the counter gives no values,
  /// and when memory runs out. Throws std::bad_alloc when it runs out over an instance's name.
  void Sample(int32_t nativePid, int32_t gpuPid, GpuProcessUsageResult& result);

 private:
  struct QueryTraits {
    using Value = PDH_HQUERY;
    static Value Invalid() noexcept { return nullptr; }
    static void Close(Value value) noexcept { PdhCloseQuery(value); }
  };
  struct CounterTraits {
    using Value = PDH_HCOUNTER;
    static Value Invalid() noexcept { return nullptr; }
    static void Close(Value value) noexcept { PdhRemoveCounter(value); }
  };

  /// Opens what is missing and takes a first collection. The caller holds the lock.
  void OpenAndPrime() noexcept;

  /// Guards the two handles and every PDH call on them.
  std::mutex mutex_;
  win::UniqueResource<QueryTraits> query_;
  /// Below the query, to be removed before that is closed.
  win::UniqueResource<CounterTraits> counter_;
};

/// The sampler of this process, which all script environments share. Made when the module loads and never destroyed.
Sampler& SharedSampler() noexcept;

}  // namespace gpu_usage
