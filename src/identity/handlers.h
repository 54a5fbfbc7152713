#pragma once

#include <napi.h>

namespace identity {

/// The script functions about the machine. Each ignores its arguments, answers from the cache after its first call, and
/// throws only when the script value cannot be made. Script thread.

/// "getCpuName": a string, empty when the processor's name cannot be read.
Napi::Value GetCpuName(const Napi::CallbackInfo& info);

/// "getOsVersionWithReleaseId": a string, never empty.
Napi::Value GetOsVersionWithReleaseId(const Napi::CallbackInfo& info);

}  // namespace identity
