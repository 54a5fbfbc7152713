#pragma once

#include <cstdint>
#include <string>

#include "gpu_usage/gpu_process_usage_result.h"

namespace gpu_usage {

/// Sums the instances of the GPU engine counter. The name of an instance shows its process and its engine, for example
/// "pid_1234_luid_0x00000000_0x0000A1B2_phys_0_eng_0_engtype_3D". Use one object for each sample. One thread.
class UsageAccumulator {
 public:
  /// `nativePid` is the process of the `nativeProc` sums, `gpuPid` that of the `gpuProc` sums; they may be equal.
  UsageAccumulator(int32_t nativePid, int32_t gpuPid);

  /// Adds the value of one instance, unchanged, to the sums of every engine kind and process in its name. Upper and
  /// lower case do not matter. An instance of another engine kind (copy, compute) is ignored. Throws std::bad_alloc.
  ///
  /// Compatibility: a process is found by "pid_" and its id anywhere in the name, no matter which character follows. So
  /// id 12 also counts the instances of process 123.
  void Add(const wchar_t* instanceName, double value);

  const GpuProcessUsageResult& Result() const noexcept { return result_; }

 private:
  const std::wstring nativeMarker_;
  const std::wstring gpuMarker_;
  /// The name in lower case; a member so that all instances share its memory.
  std::wstring name_;
  GpuProcessUsageResult result_;
};

}  // namespace gpu_usage
