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

  /// The part of an instance's name that follows "engtype_", in lower case.
  std::wstring_view engine;
  Sum gpuProc;
  Sum nativeProc;
  Sum sys;
  const char* flagName;
  bool GpuProcessUsageResult::* flag;
};

using Result = GpuProcessUsageResult;

/// In the order in which script sees the properties.
inline constexpr EngineKind kEngineKinds[] = {
    {L"3d",
     {"gpuProc3d", &Result::gpuProc3d},
     {"nativeProc3d", &Result::nativeProc3d},
     {"sys3d", &Result::sys3d},
     "has3d",
     &Result::has3d},
    {L"videoencode",
     {"gpuProcEnc", &Result::gpuProcEnc},
     {"nativeProcEnc", &Result::nativeProcEnc},
     {"sysEnc", &Result::sysEnc},
     "hasEnc",
     &Result::hasEnc},
    {L"videodecode",
     {"gpuProcDec", &Result::gpuProcDec},
     {"nativeProcDec", &Result::nativeProcDec},
     {"sysDec", &Result::sysDec},
     "hasDec",
     &Result::hasDec},
    // The system spells this engine with a space.
    {L"video codec",
     {"gpuProcCod", &Result::gpuProcCod},
     {"nativeProcCod", &Result::nativeProcCod},
     {"sysCod", &Result::sysCod},
     "hasCod",
     &Result::hasCod},
};

}  // namespace gpu_usage
