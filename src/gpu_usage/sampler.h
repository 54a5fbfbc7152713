#pragma once

#include <windows.h>

#include <pdh.h>

#include <cstdint>
#include <mutex>

#include "gpu_usage/gpu_process_usage_result.h"
#include "win/unique_resource.h"

namespace gpu_usage {

/// Reads the system's counter of GPU engine utilisation through PDH, the system's library for performance counters,
/// which the first operation loads. One PDH query stays open between samples, so a sample measures the time since the
/// previous collection of any caller. Where PDH or the counter is missing, every sample is empty.
///
/// Operations wait for one another, also while PDH works. Throws std::system_error if the lock cannot be taken. Any
/// thread. Blocks.
class Sampler {
 public:
  /// Closes the query, opens a new one and takes its first collection, from which the next sample measures.
  void Reinitialise();

  /// Takes a sample into `result`, which the caller passes zeroed; UsageAccumulator describes the two ids. `result`
  /// stays zeroed if no query was open (this call then opens one), if the counter has no values, and if there is no
  /// memory for them. Throws std::bad_alloc, with `result` zeroed, if there is no memory for an instance's name.
  void Sample(int32_t nativePid, int32_t gpuPid, GpuProcessUsageResult& result);

 private:
  struct QueryTraits {
    using Value = PDH_HQUERY;
    static Value Invalid() noexcept { return nullptr; }
    static void Close(Value value) noexcept;
  };
  struct CounterTraits {
    using Value = PDH_HCOUNTER;
    static Value Invalid() noexcept { return nullptr; }
    static void Close(Value value) noexcept;
  };

  /// Loads PDH, opens the query and adds the counter where they are missing, then takes a first collection. The caller
  /// holds the lock.
  void OpenAndPrime() noexcept;

  /// Guards the loading of PDH, the two handles and every PDH call on them.
  std::mutex mutex_;
  win::UniqueResource<QueryTraits> query_;
  /// Declared after the query, so that it is removed before the query is closed.
  win::UniqueResource<CounterTraits> counter_;
};

/// The sampler of this process, which all script environments share. It is made when the module loads and is never
/// destroyed; the query is not closed when the process ends.
Sampler& SharedSampler() noexcept;

}  // namespace gpu_usage
