#include "identity/handlers.h"

#include "identity/cpu_name.h"
#include "identity/os_version.h"

namespace identity {

Napi::Value GetCpuName(const Napi::CallbackInfo& info) {
  return Napi::String::New(info.Env(), CpuName());
}

Napi::Value GetOsVersionWithReleaseId(const Napi::CallbackInfo& info) {
  return Napi::String::New(info.Env(), OsVersionWithReleaseId());
}

}  // namespace identity
