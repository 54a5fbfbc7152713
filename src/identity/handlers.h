#pragma once

#include <napi.h>

namespace identity {

/// The script functions about the machine. Each ignores its arguments, answers from the cache after its first call, and
/// throws only when the script value cannot be made. Script thread.

/// "getGuid": a string of plain ASCII. The first call may block on devices for a while.
Napi::Value GetGuid(const Napi::CallbackInfo& info);

/// "getCpuName": a string, empty when the processor's name cannot be read.
Napi::Value GetCpuName(const Napi::CallbackInfo& info);

/// "getOsVersionWithReleaseId": a string, never empty.
Napi::Value GetOsVersionWithReleaseId(const Napi::CallbackInfo& info);

/// "isDebugMode": a boolean.
Napi::Value IsDebugMode(const Napi::CallbackInfo& info);

}  // namespace identity
