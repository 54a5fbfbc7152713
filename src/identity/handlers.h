#pragma once

#include <napi.h>

namespace identity {

/// The script functions about the machine. lib/index.d.ts describes them. Each ignores its arguments and throws when a
/// Node-API call fails. When memory runs out, std::bad_alloc leaves the function and ends the process. Script thread.
Napi::Value GetGuid(const Napi::CallbackInfo& info);
Napi::Value GetCpuName(const Napi::CallbackInfo& info);
Napi::Value GetOsVersionWithReleaseId(const Napi::CallbackInfo& info);
Napi::Value IsDebugMode(const Napi::CallbackInfo& info);

}  // namespace identity
