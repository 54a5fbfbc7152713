#include "native/usage_sums.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <cwchar>
#include <cwctype>

#include "gpu_usage/usage_accumulator.h"

namespace bench {

namespace {

using std::chrono::steady_clock;
using Nanoseconds = std::chrono::duration<double, std::nano>;

constexpr int32_t kNativePid = 1000;
constexpr int32_t kGpuPid = 1008;

/// The sums of an engine kind: the native process, the GPU process, the system.
using Sums = std::array<double, 3>;

void AddBare(const Instance& instance, std::array<Sums, 4>& sums) {
  constexpr std::array<const wchar_t*, 4> kEngines = {L"engtype_3d", L"engtype_videoencode", L"engtype_videodecode",
                                                      L"engtype_video codec"};
  std::array<wchar_t, 256> name{};
  size_t length = 0;
  for (const wchar_t character : instance.name)
    name[length++] = static_cast<wchar_t>(std::towlower(character));
  const bool native = std::wcsstr(name.data(), L"pid_1000") != nullptr;
  const bool gpu = std::wcsstr(name.data(), L"pid_1008") != nullptr;
  for (size_t kind = 0; kind < kEngines.size(); ++kind) {
    if (!std::wcsstr(name.data(), kEngines[kind])) continue;
    if (native) sums[kind][0] += instance.value;
    if (gpu) sums[kind][1] += instance.value;
    sums[kind][2] += instance.value;
  }
}

}  // namespace

std::vector<Instance> MakeInstances(size_t count) {
  constexpr std::array<const wchar_t*, 8> kEngines = {L"3D",          L"VideoEncode", L"VideoDecode", L"Copy",
                                                      L"Video Codec", L"Compute_0",   L"Security",    L"3D"};
  std::vector<Instance> instances;
  for (size_t index = 0; index < count; ++index) {
    instances.push_back({L"pid_" + std::to_wstring(kNativePid + index / 16 * 4) +
                             L"_luid_0x00000000_0x0000A1B2_phys_0_eng_" + std::to_wstring(index % 16) + L"_engtype_" +
                             kEngines[index % kEngines.size()],
                         static_cast<double>(index % 100) / 4});
  }
  return instances;
}

TimedSums SumWithAccumulator(const std::vector<Instance>& instances, size_t rounds) {
  TimedSums timed;
  const auto start = steady_clock::now();
  for (size_t round = 0; round < rounds; ++round) {
    gpu_usage::UsageAccumulator accumulator(kNativePid, kGpuPid);
    for (const Instance& instance : instances)
      accumulator.Add(instance.name.c_str(), instance.value);
    const auto& sums = accumulator.Result();
    timed.total = sums.gpuProc3d + sums.nativeProc3d + sums.sys3d + sums.gpuProcEnc + sums.nativeProcEnc + sums.sysEnc +
                  sums.gpuProcDec + sums.nativeProcDec + sums.sysDec + sums.gpuProcCod + sums.nativeProcCod +
                  sums.sysCod;
  }
  timed.nanoseconds = Nanoseconds(steady_clock::now() - start).count();
  return timed;
}

TimedSums SumBare(const std::vector<Instance>& instances, size_t rounds) {
  TimedSums timed;
  const auto start = steady_clock::now();
  for (size_t round = 0; round < rounds; ++round) {
    std::array<Sums, 4> sums{};
    for (const Instance& instance : instances)
      AddBare(instance, sums);
    timed.total = 0;
    for (const auto& [native, gpu, system] : sums)
      timed.total += native + gpu + system;
  }
  timed.nanoseconds = Nanoseconds(steady_clock::now() - start).count();
  return timed;
}

}  // namespace bench
