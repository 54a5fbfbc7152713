#include "gpu_usage/usage_accumulator.h"

#include <cwctype>
#include <string_view>

namespace gpu_usage {

UsageAccumulator::UsageAccumulator(int32_t nativePid, int32_t gpuPid)
    : nativeMarker_(L"pid_" + std::to_wstring(nativePid)), gpuMarker_(L"pid_" + std::to_wstring(gpuPid)) {}

void UsageAccumulator::Add(const wchar_t* instanceName, double value) {
  name_ = instanceName;
  for (wchar_t& character : name_)
    character = static_cast<wchar_t>(std::towlower(character));
  const auto has = [this](std::wstring_view marker, size_t from) {
    return name_.find(marker, from) != std::wstring::npos;
  };
  // The markers of all engine kinds begin so. To search only from here is faster.
  const size_t engine = name_.find(L"engtype_");
  for (const EngineKind& kind : kEngineKinds) {
    if (!has(kind.marker, engine)) continue;
    if (has(nativeMarker_, 0)) result_.*kind.nativeProc.value += value;
    if (has(gpuMarker_, 0)) result_.*kind.gpuProc.value += value;
    result_.*kind.sys.value += value;
    result_.*kind.flag = true;
  }
}

}  // namespace gpu_usage
