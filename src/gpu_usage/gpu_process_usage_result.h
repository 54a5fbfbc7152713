#pragma once

#include <string_view>

namespace gpu_usage {

/// How busy the engines of the graphics processor were, by engine kind. Every sum is a percentage of one engine's time
/// between two collections of the counter. The `sys` sums include every process, adapter and engine of the kind and can
/// exceed 100. A flag is set if at least one instance of its kind was read.
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

/// One engine kind: how the counter names it, its fields, and their property names in script.
struct EngineKind {
  struct Sum {
    const char* name;
    double GpuProcessUsageResult::* value;
  };

  /// What an instance of this kind has in its name, in lower case.
  std::wstring_view marker;
  Sum gpuProc;
  Sum nativeProc;
  Sum sys;
  const char* flagName;
  bool GpuProcessUsageResult::* flag;
};

/// In the order in which script sees the properties.
inline constexpr EngineKind kEngineKinds[] = {
    {L"engtype_3d",
     {"gpuProc3d", &GpuProcessUsageResult::gpuProc3d},
     {"nativeProc3d", &GpuProcessUsageResult::nativeProc3d},
     {"sys3d", &GpuProcessUsageResult::sys3d},
     "has3d",
     &GpuProcessUsageResult::has3d},
    {L"engtype_videoencode",
     {"gpuProcEnc", &GpuProcessUsageResult::gpuProcEnc},
     {"nativeProcEnc", &GpuProcessUsageResult::nativeProcEnc},
     {"sysEnc", &GpuProcessUsageResult::sysEnc},
     "hasEnc",
     &GpuProcessUsageResult::hasEnc},
    {L"engtype_videodecode",
     {"gpuProcDec", &GpuProcessUsageResult::gpuProcDec},
     {"nativeProcDec", &GpuProcessUsageResult::nativeProcDec},
     {"sysDec", &GpuProcessUsageResult::sysDec},
     "hasDec",
     &GpuProcessUsageResult::hasDec},
    // The system spells this engine with a space.
    {L"engtype_video codec",
     {"gpuProcCod", &GpuProcessUsageResult::gpuProcCod},
     {"nativeProcCod", &GpuProcessUsageResult::nativeProcCod},
     {"sysCod", &GpuProcessUsageResult::sysCod},
     "hasCod",
     &GpuProcessUsageResult::hasCod},
};

}  // namespace gpu_usage
