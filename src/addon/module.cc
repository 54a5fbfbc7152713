// The entry points that Node.js looks up in the module file, and the table of script functions.

#include <napi.h>

#include <windows.h>

#include <cstring>

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

/// In the order in which script sees the properties of the export object.
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

/// Keeps the module's file loaded until the process ends. Node.js unloads a module when the last script environment
/// that loaded it ends, and then a worker may still be running the module's code.
void KeepModuleLoaded() noexcept {
  HMODULE module = nullptr;
  // Any address inside the module will do.
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                     reinterpret_cast<LPCWSTR>(kScriptFunctions), &module);
}

/// Sets the functions on `exports`. Runs once in every script environment that loads the module and keeps no state.
/// Throws Napi::Error if a Node-API call fails; the registration wrapper then makes the load fail with that error.
Napi::Object Init(Napi::Env env, Napi::Object exports) {
  KeepModuleLoaded();
  for (const auto& [name, handler] : kScriptFunctions) {
    const auto function = Napi::Function::New(env, handler);
    exports.Set(Napi::String::New(env, name, std::strlen(name)), function);
  }
  return exports;
}

}  // namespace

NODE_API_MODULE(NODE_GYP_MODULE_NAME, Init)
