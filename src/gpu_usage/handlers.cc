#include "gpu_usage/handlers.h"

#include <array>
#include <cstdint>

#include "addon/background_work.h"
#include "addon/bad_argument.h"
#include "addon/worker_thread.h"
#include "gpu_usage/gpu_process_usage_result.h"
#include "gpu_usage/sampler.h"

namespace gpu_usage {

namespace {

struct Sum {
  const char* name;
  double GpuProcessUsageResult::*value;
};

/// The properties of one engine kind, in the order in which script sees them.
struct KindProperties {
  std::array<Sum, 3> sums;
  const char* flagName;
  bool GpuProcessUsageResult::*flag;
};

using Result = GpuProcessUsageResult;
constexpr std::array<KindProperties, 4> kKinds = {{
    {{{{"gpuProc3d", &Result::gpuProc3d}, {"nativeProc3d", &Result::nativeProc3d}, {"sys3d", &Result::sys3d}}},
     "has3d",
     &Result::has3d},
    {{{{"gpuProcEnc", &Result::gpuProcEnc}, {"nativeProcEnc", &Result::nativeProcEnc}, {"sysEnc", &Result::sysEnc}}},
     "hasEnc",
     &Result::hasEnc},
    {{{{"gpuProcDec", &Result::gpuProcDec}, {"nativeProcDec", &Result::nativeProcDec}, {"sysDec", &Result::sysDec}}},
     "hasDec",
     &Result::hasDec},
    {{{{"gpuProcCod", &Result::gpuProcCod}, {"nativeProcCod", &Result::nativeProcCod}, {"sysCod", &Result::sysCod}}},
     "hasCod",
     &Result::hasCod},
}};

/// Deliberate: a kind that was not seen has no properties at all, never a flag that is false, and a sum of exactly zero
/// is left out. Not-a-number is unequal to zero and goes through.
Napi::Value ToScript(Napi::Env env, const GpuProcessUsageResult& result) {
  const auto usage = Napi::Object::New(env);
  for (const KindProperties& kind : kKinds) {
    if (!(result.*kind.flag)) continue;
    for (const auto& [name, value] : kind.sums) {
      if (result.*value != 0.0) usage.Set(name, Napi::Number::New(env, result.*value));
    }
    usage.Set(kind.flagName, Napi::Boolean::New(env, true));
  }
  return usage;
}

constexpr addon::BackgroundFunction<GpuProcessUsageResult> kGetGpuUsage = {
    .threadName = "GetGpuUsage", .resourceName = "get_gpu_process_usage_callback", .toScript = &ToScript};

}  // namespace

Napi::Value InitGpuUsage(const Napi::CallbackInfo& info) {
  addon::StartWorker("InitGpuUsage", [] { SharedSampler().Reinitialise(); });
  return info.Env().Undefined();
}

Napi::Value GetGpuUsage(const Napi::CallbackInfo& info) {
  if (info[0].Type() != napi_number || info[1].Type() != napi_number || info[2].Type() != napi_function) {
    return addon::ThrowBadArgument(info.Env());
  }
  const int32_t nativePid = info[0].As<Napi::Number>().Int32Value();
  const int32_t gpuPid = info[1].As<Napi::Number>().Int32Value();
  return addon::RunInBackground(
      info.Env(), info[2].As<Napi::Function>(), kGetGpuUsage,
      [nativePid, gpuPid](GpuProcessUsageResult& result) { SharedSampler().Sample(nativePid, gpuPid, result); });
}

}  // namespace gpu_usage
