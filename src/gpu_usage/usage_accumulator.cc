#include "gpu_usage/usage_accumulator.h"

#include <array>
#include <cwctype>
#include <string_view>

namespace gpu_usage {

namespace {

constexpr std::wstring_view kProcessPrefix = L"pid_";
constexpr std::wstring_view kEnginePrefix = L"engtype_";

struct EngineKind {
  /// What follows the engine prefix.
  std::wstring_view name;
  bool GpuProcessUsageResult::*has;
  double GpuProcessUsageResult::*gpuProc;
  double GpuProcessUsageResult::*nativeProc;
  double GpuProcessUsageResult::*sys;
};

using Result = GpuProcessUsageResult;
constexpr std::array<EngineKind, 4> kEngineKinds = {{
    {L"3d", &Result::has3d, &Result::gpuProc3d, &Result::nativeProc3d, &Result::sys3d},
    {L"videoencode", &Result::hasEnc, &Result::gpuProcEnc, &Result::nativeProcEnc, &Result::sysEnc},
    {L"videodecode", &Result::hasDec, &Result::gpuProcDec, &Result::nativeProcDec, &Result::sysDec},
    // The system spells this one with a blank.
    {L"video codec", &Result::hasCod, &Result::gpuProcCod, &Result::nativeProcCod, &Result::sysCod},
}};

/// What the name of an instance tells, each at most once however often it is told.
struct Markers {
  bool nativeProc = false;
  bool gpuProc = false;
  std::array<bool, kEngineKinds.size()> kinds{};
};

/// Finds all markers in one pass over `name`.
Markers FindMarkers(std::wstring_view name, std::wstring_view nativeMarker, std::wstring_view gpuMarker) {
  Markers found;
  for (; !name.empty(); name.remove_prefix(1)) {
    if (name.front() == kProcessPrefix.front()) {
      found.nativeProc |= name.starts_with(nativeMarker);
      found.gpuProc |= name.starts_with(gpuMarker);
    } else if (name.starts_with(kEnginePrefix)) {
      const std::wstring_view engine = name.substr(kEnginePrefix.size());
      for (size_t kind = 0; kind < kEngineKinds.size(); ++kind) {
        found.kinds[kind] |= engine.starts_with(kEngineKinds[kind].name);
      }
    }
  }
  return found;
}

}  // namespace

UsageAccumulator::UsageAccumulator(int32_t nativePid, int32_t gpuPid)
    : nativeMarker_(std::wstring(kProcessPrefix) + std::to_wstring(nativePid)),
      gpuMarker_(std::wstring(kProcessPrefix) + std::to_wstring(gpuPid)) {}

void UsageAccumulator::Add(const wchar_t* instanceName, double value) {
  name_ = instanceName;
  for (wchar_t& character : name_)
    character = static_cast<wchar_t>(std::towlower(character));
  const Markers found = FindMarkers(name_, nativeMarker_, gpuMarker_);
  for (size_t kind = 0; kind < kEngineKinds.size(); ++kind) {
    if (!found.kinds[kind]) continue;
    const auto& [name, has, gpuProc, nativeProc, sys] = kEngineKinds[kind];
    if (found.nativeProc) result_.*nativeProc += value;
    if (found.gpuProc) result_.*gpuProc += value;
    result_.*sys += value;
    result_.*has = true;
  }
}

}  // namespace gpu_usage
