#include "lifecycle/handlers.h"

#include <string>

#include "addon/script_values.h"
#include "lifecycle/old_version.h"
#include "lifecycle/single_instance.h"
#include "lifecycle/startup_mask.h"

namespace lifecycle {

Napi::Value CreateDuplicateMutex(const Napi::CallbackInfo& info) {
  return Napi::Boolean::New(info.Env(), ClaimSingleInstance());
}

Napi::Value DestroyDuplicateMutex(const Napi::CallbackInfo& info) {
  GiveUpSingleInstance();
  return Napi::Boolean::New(info.Env(), true);
}

Napi::Value EnterStartupMask(const Napi::CallbackInfo& info) {
  const auto result = Napi::Object::New(info.Env());
  const StartupEntry entry = EnterStartup();
  result.Set("hasMask", Napi::Boolean::New(info.Env(), entry.hasMask));
  addon::SetIfPresent(result, "lastVersion", entry.lastVersion);
  return result;
}

Napi::Value LeaveStartupMask(const Napi::CallbackInfo& info) {
  // Done first, so that the mark is cleared even when the answer cannot be made.
  ClearStartupMark();
  const auto result = Napi::Object::New(info.Env());
  const StartupRecord record = RecordStartup();
  addon::SetIfPresent(result, "writeRegVersion", record.writeRegVersion);
  addon::SetIfPresent(result, "installVersion", record.installVersion);
  addon::SetIfPresent(result, "silentVersion", record.silentVersion);
  addon::SetIfPresent(result, "deleteFolderPath", record.deleteFolderPath);
  return result;
}

Napi::Value RemoveOldVersion(const Napi::CallbackInfo& info) {
  const Napi::Env env = info.Env();
  // These objects are made first: if one cannot be made, nothing has been removed yet.
  const auto result = Napi::Object::New(env);
  const auto gpuResult = Napi::Object::New(env);
  const auto firewallResult = Napi::Object::New(env);
  if (info[0].Type() != napi_string) return addon::ThrowBadArgument(env, "Invalid path");
  if (info[1].Type() != napi_string) return addon::ThrowBadArgument(env, "Invalid version");

  const std::string gpuError = RemoveGpuPreference(addon::ToWide(info[0]));
  gpuResult.Set("delSuccess", Napi::Boolean::New(env, gpuError.empty()));
  addon::SetIfPresent(gpuResult, "errorText", gpuError);

  const auto version = info[1].As<Napi::String>();
  const std::string prefix(kFirewallRulePrefix);
  firewallResult.Set("firewallName", Napi::String::New(env, prefix + version.Utf8Value()));
  const std::string firewallError =
      RemoveFirewallRule(std::wstring(prefix.begin(), prefix.end()) + addon::ToWide(version));
  firewallResult.Set("delSuccess", Napi::Boolean::New(env, firewallError.empty()));
  firewallResult.Set("errorText", Napi::String::New(env, firewallError));

  result.Set("gpuPreferencesDelResult", gpuResult);
  result.Set("firewallDelResult", firewallResult);
  return result;
}

}  // namespace lifecycle
