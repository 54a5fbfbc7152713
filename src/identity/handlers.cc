#include "identity/handlers.h"

#include "identity/cpu_name.h"
#include "identity/debug_mode.h"
#include "identity/machine_id.h"
#include "identity/os_version.h"

namespace identity {

Napi::Value GetGuid(const Napi::CallbackInfo& info) {
  return Napi::String::New(info.Env(), MachineId());
}

Napi::Value GetCpuName(const Napi::CallbackInfo& info) {
  return Napi::String::New(info.Env(), CpuName());
}

Napi::Value GetOsVersionWithReleaseId(const Napi::CallbackInfo& info) {
  return Napi::String::New(info.Env(), OsVersionWithReleaseId());
}

Napi::Value IsDebugMode(const Napi::CallbackInfo& info) {
  return Napi::Boolean::New(info.Env(), DebugMode::Instance().Query());
}

}  // namespace identity
