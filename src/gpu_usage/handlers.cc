#include "gpu_usage/handlers.h"

#include <cstdint>

#include "addon/background_work.h"
#include "addon/script_values.h"
#include "addon/worker_thread.h"
#include "gpu_usage/gpu_process_usage_result.h"
#include "gpu_usage/sampler.h"

namespace gpu_usage {

namespace {

/// Compatibility: a kind that was not seen has no properties, not even a flag that is false, and a sum of exactly zero
/// is left out.
Napi::Value ToScript(Napi::Env env, const GpuProcessUsageResult& result) {
  const auto usage = Napi::Object::New(env);
  for (const EngineKind& kind : kEngineKinds) {
    if (!(result.*kind.flag)) continue;
    for (const EngineKind::Sum& sum : {kind.gpuProc, kind.nativeProc, kind.sys}) {
      addon::SetIfPresent(usage, sum.name, result.*sum.value);
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
