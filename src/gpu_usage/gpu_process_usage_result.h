#pragma once

namespace gpu_usage {

/// How busy the graphics processor's engines were, by engine kind. Every sum is a percentage of one engine's time over
/// the interval between two collections of the counter. The sums of the system take in every process, adapter and
/// engine of the kind and can exceed 100. A flag is set when at least one instance of its kind was read.
struct GpuProcessUsageResult {
  bool has3d = false;
  double gpuProc3d = 0.0;
  double nativeProc3d = 0.0;
  double sys3d = 0.0;
  bool hasEnc = false;
  double gpuProcEnc = 0.0;
  double nativeProcEnc = 0.0;
  double sysEnc = 0.0;
  bool hasDec = false;
  double gpuProcDec = 0.0;
  double nativeProcDec = 0.0;
  double sysDec = 0.0;
  bool hasCod = false;
  double gpuProcCod = 0.0;
  double nativeProcCod = 0.0;
  double sysCod = 0.0;
};

}  // namespace gpu_usage
