#include "lifecycle/handlers.h"

#include <optional>
#include <string>

#include "addon/script_values.h"
#include "lifecycle/old_version.h"
#include "lifecycle/single_instance.h"
#include "lifecycle/startup_mask.h"

namespace lifecycle {

namespace {

void SetText(const Napi::Object& object, const char* key, const std::string& text) {
  object.Set(key, Napi::String::New(object.Env(), text));
}

void SetText(const Napi::Object& object, const char* key, const std::optional<std::string>& text) {
  if (text) SetText(object, key, *text);
}

void SetFlag(const Napi::Object& object, const char* key, bool flag) {
  object.Set(key, Napi::Boolean::New(object.Env(), flag));
}

}  // namespace

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
  SetFlag(result, "hasMask", entry.hasMask);
  SetText(result, "lastVersion", entry.lastVersion);
  return result;
}

Napi::Value LeaveStartupMask(const Napi::CallbackInfo& info) {
  // First, so that the mark is cleared even when the answer cannot be made.
  ClearStartupMark();
  const auto result = Napi::Object::New(info.Env());
  const StartupRecord record = RecordStartup();
  SetText(result, "writeRegVersion", record.writeRegVersion);
  SetText(result, "installVersion", record.installVersion);
  SetText(result, "silentVersion", record.silentVersion);
  SetText(result, "deleteFolderPath", record.deleteFolderPath);
  return result;
}

Napi::Value RemoveOldVersion(const Napi::CallbackInfo& info) {
  const Napi::Env env = info.Env();
  // Made first: if one cannot be made, nothing has been removed.
  const auto result = Napi::Object::New(env);
  const auto gpuResult = Napi::Object::New(env);
  const auto firewallResult = Napi::Object::New(env);
  if (info[0].Type() != napi_string) return addon::ThrowBadArgument(env, "Invalid path");
  if (info[1].Type() != napi_string) return addon::ThrowBadArgument(env, "Invalid version");

  const auto gpuError = RemoveGpuPreference(addon::ToWide(info[0]));
  SetFlag(gpuResult, "delSuccess", !gpuError);
  SetText(gpuResult, "errorText", gpuError);

  const auto version = info[1].As<Napi::String>();
  const std::string prefix(kFirewallRulePrefix);
  SetText(firewallResult, "firewallName", prefix + version.Utf8Value());
  const auto firewallError = RemoveFirewallRule(std::wstring(prefix.begin(), prefix.end()) + addon::ToWide(version));
  SetFlag(firewallResult, "delSuccess", !firewallError);
  SetText(firewallResult, "errorText", firewallError.value_or(""));

  result.Set("gpuPreferencesDelResult", gpuResult);
  result.Set("firewallDelResult", firewallResult);
  return result;
}

}  // namespace lifecycle
