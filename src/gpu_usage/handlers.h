#pragma once

#include <napi.h>

namespace gpu_usage {

/// "initGpuUsage": starts the process's sampler over on a worker and returns `undefined`. Its arguments are ignored and
/// nothing is reported back. Script thread.
Napi::Value InitGpuUsage(const Napi::CallbackInfo& info);

/// "getGpuUsage": takes the native process's id, the GPU process's id (read as signed 32-bit integers) and a callback,
/// returns `undefined`, and later calls back with an object of up to sixteen properties. For each engine kind that was
/// seen it has the flag (`has3d`...: true) and those of the kind's three sums (`gpuProc3d`, `nativeProc3d`, `sys3d`...)
/// that are not 0. It is empty when there is nothing to read. Throws TypeError "Invalid arg" unless it gets two numbers
/// and a function. Script thread.
Napi::Value GetGpuUsage(const Napi::CallbackInfo& info);

}  // namespace gpu_usage
