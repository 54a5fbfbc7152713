// The entry points that Node.js looks up in the module file, and the table of script functions.

#include <napi.h>

#include <cstring>

#include "addon/keep_loaded.h"
#include "gpu_usage/handlers.h"
#include "identity/handlers.h"
#include "jank/handlers.h"
#include "lifecycle/handlers.h"
#include "process_list/handlers.h"

namespace {

struct ScriptFunction {
  const char* name;
  Napi::Value (*handler)(const Napi::CallbackInfo& info);
};

/// In the order in which script sees them.
constexpr ScriptFunction kScriptFunctions[] = {
    {"getGuid", &identity::GetGuid},
    {"getCpuName", &identity::GetCpuName},
    {"getOsVersionWithReleaseId", &identity::GetOsVersionWithReleaseId},
    {"isDebugMode", &identity::IsDebugMode},
    {"createDuplicateMutex", &lifecycle::CreateDuplicateMutex},
    {"destroyDuplicateMutex", &lifecycle::DestroyDuplicateMutex},
    {"enterStartupMask", &lifecycle::EnterStartupMask},
    {"leaveStartupMask", &lifecycle::LeaveStartupMask},
    {"removeOldVersion", &lifecycle::RemoveOldVersion},
    {"captureNativeJank", &jank::CaptureNativeJank},
    {"initGpuUsage", &gpu_usage::InitGpuUsage},
    {"getGpuUsage", &gpu_usage::GetGpuUsage},
    {"enumProcessList", &process_list::EnumProcessList},
};

/// Fills `exports`. Runs once in every script environment that loads the module and keeps no state. A failing Node-API
/// call throws Napi::Error, which the registration wrapper turns into a failing load.
Napi::Object Init(Napi::Env env, Napi::Object exports) {
  addon::KeepModuleLoaded();
  for (const auto& [name, handler] : kScriptFunctions) {
    const auto function = Napi::Function::New(env, handler);
    exports.Set(Napi::String::New(env, name, std::strlen(name)), function);
  }
  return exports;
}

}  // namespace

NODE_API_MODULE(NODE_GYP_MODULE_NAME, Init)
