#pragma once

#include <cstdint>
#include <string>

#include "gpu_usage/gpu_process_usage_result.h"

namespace gpu_usage {

/// Sums the instances of the GPU engine counter, whose names tell process and engine, such as
/// "pid_1234_luid_0x00000000_0x0000A1B2_phys_0_eng_0_engtype_3D". One object for each sample. Not thread-safe.
class UsageAccumulator {
 public:
  /// `nativePid` feeds the sums of the native process, `gpuPid` those of the GPU process. The two may be equal.
  UsageAccumulator(int32_t nativePid, int32_t gpuPid);

  /// Adds one instance, whatever the case of its name. Its value goes, as it is, to every kind that the name tells, and
  /// for a kind to both processes when the name tells both. An instance of another kind (copy, compute...) counts for
  /// nothing.
  ///
  /// A process is found by "pid_" and its id anywhere in the name, without a look at what follows: deliberate, so 12
  /// takes in the instances of 123 too.
  void Add(const wchar_t* instanceName, double value);

  /// The sums and flags so far.
  const GpuProcessUsageResult& Result() const noexcept { return result_; }

 private:
  const std::wstring nativeMarker_;
  const std::wstring gpuMarker_;
  /// The name in lower case; kept between instances for its memory.
  std::wstring name_;
  GpuProcessUsageResult result_;
};

}  // namespace gpu_usage
