#include "gpu_usage/usage_accumulator.h"

#include <array>
#include <cwctype>
#include <iterator>
#include <string_view>

namespace gpu_usage {

namespace {

constexpr std::wstring_view kProcessPrefix = L"pid_";
constexpr std::wstring_view kEnginePrefix = L"engtype_";

/// Says what the name of an instance contains. A repeated marker counts once.
struct Markers {
  bool nativeProc = false;
  bool gpuProc = false;
  std::array<bool, std::size(kEngineKinds)> kinds{};
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
      for (size_t kind = 0; kind < found.kinds.size(); ++kind) {
        found.kinds[kind] |= engine.starts_with(kEngineKinds[kind].engine);
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
  for (size_t index = 0; index < found.kinds.size(); ++index) {
    if (!found.kinds[index]) continue;
    const EngineKind& kind = kEngineKinds[index];
    if (found.nativeProc) result_.*kind.nativeProc.value += value;
    if (found.gpuProc) result_.*kind.gpuProc.value += value;
    result_.*kind.sys.value += value;
    result_.*kind.flag = true;
  }
}

}  // namespace gpu_usage
