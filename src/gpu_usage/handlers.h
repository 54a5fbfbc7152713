#pragma once

#include <napi.h>

namespace gpu_usage {

/// "initGpuUsage": Sampler::Reinitialise on a worker. Script thread.
Napi::Value InitGpuUsage(const Napi::CallbackInfo& info);

/// "getGpuUsage": Sampler::Sample on a worker. Script thread.
Napi::Value GetGpuUsage(const Napi::CallbackInfo& info);

}  // namespace gpu_usage
