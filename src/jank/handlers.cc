#include "jank/handlers.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>

#include "addon/background_work.h"
#include "addon/script_values.h"
#include "jank/capture.h"

namespace jank {

namespace {

struct RequiredProperty {
  const char* name;
  napi_valuetype type;
};

/// In the order in which they are read.
constexpr RequiredProperty kRequiredProperties[] = {
    {"processId", napi_number},   {"threadId", napi_number}, {"jankType", napi_string}, {"janksDir", napi_string},
    {"userId", napi_string},      {"deviceId", napi_string}, {"version", napi_string},  {"systemVersion", napi_string},
    {"logFilename", napi_string}, {"living", napi_boolean},  {"uptime", napi_number},   {"duration", napi_number},
};

bool HasRequiredProperties(const Napi::Object& object) {
  return std::all_of(
      std::begin(kRequiredProperties), std::end(kRequiredProperties),
      [&](const RequiredProperty& property) { return object.Get(property.name).Type() == property.type; });
}

/// Reads the properties once more, after their types have been checked.
CaptureJankArgs ReadArgs(const Napi::Object& object) {
  const auto get = [&](const char* name) -> Napi::Value { return object.Get(name); };
  const auto getUnsigned = [&](const char* name) { return get(name).As<Napi::Number>().Uint32Value(); };
  const auto getUtf8 = [&](const char* name) { return get(name).As<Napi::String>().Utf8Value(); };
  CaptureJankArgs args;
  args.processId = getUnsigned("processId");
  args.threadId = getUnsigned("threadId");
  args.jankType = getUtf8("jankType");
  args.janksDir = addon::ToWide(get("janksDir"));
  args.userId = getUtf8("userId");
  args.deviceId = getUtf8("deviceId");
  args.version = getUtf8("version");
  args.systemVersion = getUtf8("systemVersion");
  args.logFilename = getUtf8("logFilename");
  args.living = get("living").ToBoolean();
  args.uptime = get("uptime").As<Napi::Number>().DoubleValue();
  args.duration = getUnsigned("duration");
  return args;
}

void SetIfNotEmpty(Napi::Object object, const char* name, const std::string& text) {
  if (!text.empty()) object.Set(name, Napi::String::New(object.Env(), text));
}

Napi::Value ToScript(Napi::Env env, const CaptureJankResult& result) {
  const auto dump = Napi::Object::New(env);
  dump.Set("succ", Napi::Boolean::New(env, result.dumpJankResult.succ));
  SetIfNotEmpty(dump, "errorText", result.dumpJankResult.errorText);

  const auto stack = Napi::Object::New(env);
  SetIfNotEmpty(stack, "stackTrace", result.captureStackResult.stackTrace);
  SetIfNotEmpty(stack, "errorText", result.captureStackResult.errorText);

  const auto whole = Napi::Object::New(env);
  SetIfNotEmpty(whole, "jsonFilename", result.jsonFilename);
  whole.Set("dumpJankResult", dump);
  whole.Set("captureStackResult", stack);
  SetIfNotEmpty(whole, "errorText", result.errorText);
  return whole;
}

constexpr addon::BackgroundFunction<CaptureJankResult> kCaptureNativeJank = {
    .threadName = "CaptureJank", .resourceName = "capture_native_jank_callback", .toScript = &ToScript};

}  // namespace

Napi::Value CaptureNativeJank(const Napi::CallbackInfo& info) {
  if (!info[0].IsObject() || !info[1].IsFunction()) return addon::ThrowBadArgument(info.Env());
  const Napi::Object object = info[0].ToObject();
  if (!HasRequiredProperties(object)) return addon::ThrowBadArgument(info.Env());
  return addon::RunInBackground(info.Env(), info[1].As<Napi::Function>(), kCaptureNativeJank,
                                [args = ReadArgs(object)](CaptureJankResult& result) { RunCapture(args, result); });
}

}  // namespace jank
