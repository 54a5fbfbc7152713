#include "jank/handlers.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string>

#include "addon/background_work.h"
#include "addon/script_values.h"
#include "jank/capture.h"

namespace jank {

namespace {

void ReadValue(const Napi::Value& value, uint32_t& field) {
  field = value.As<Napi::Number>().Uint32Value();
}
void ReadValue(const Napi::Value& value, double& field) {
  field = value.As<Napi::Number>().DoubleValue();
}
void ReadValue(const Napi::Value& value, bool& field) {
  field = value.ToBoolean();
}
void ReadValue(const Napi::Value& value, std::string& field) {
  field = value.As<Napi::String>().Utf8Value();
}
void ReadValue(const Napi::Value& value, std::wstring& field) {
  field = addon::ToWide(value);
}

template <auto kField>
void ReadField(const Napi::Value& value, CaptureJankArgs& args) {
  ReadValue(value, args.*kField);
}

/// A property of the script argument: its name, its type, and how it is read into its field.
struct Property {
  const char* name;
  napi_valuetype type;
  void (*read)(const Napi::Value& value, CaptureJankArgs& args);
};

/// In the order in which they are read, which script can see by getters.
constexpr Property kProperties[] = {
    {"processId", napi_number, &ReadField<&CaptureJankArgs::processId>},
    {"threadId", napi_number, &ReadField<&CaptureJankArgs::threadId>},
    {"jankType", napi_string, &ReadField<&CaptureJankArgs::jankType>},
    {"janksDir", napi_string, &ReadField<&CaptureJankArgs::janksDir>},
    {"userId", napi_string, &ReadField<&CaptureJankArgs::userId>},
    {"deviceId", napi_string, &ReadField<&CaptureJankArgs::deviceId>},
    {"version", napi_string, &ReadField<&CaptureJankArgs::version>},
    {"systemVersion", napi_string, &ReadField<&CaptureJankArgs::systemVersion>},
    {"logFilename", napi_string, &ReadField<&CaptureJankArgs::logFilename>},
    {"living", napi_boolean, &ReadField<&CaptureJankArgs::living>},
    {"uptime", napi_number, &ReadField<&CaptureJankArgs::uptime>},
    {"duration", napi_number, &ReadField<&CaptureJankArgs::duration>},
};

Napi::Value Get(const Napi::Object& object, const Property& property) {
  return object.Get(property.name);
}

bool HasAllProperties(const Napi::Object& object) {
  return std::all_of(std::begin(kProperties), std::end(kProperties),
                     [&](const Property& property) { return Get(object, property).Type() == property.type; });
}

CaptureJankArgs ReadArgs(const Napi::Object& object) {
  CaptureJankArgs args;
  for (const Property& property : kProperties)
    property.read(Get(object, property), args);
  return args;
}

/// A capture ends with a report or with an error text. If there is neither, memory ran out before the thread was
/// suspended or after it was resumed. The error text then names the step that could not be done.
std::string ErrorTextOf(const CaptureJankResult& result) {
  if (!result.errorText.empty() || !result.jsonFilename.empty()) return result.errorText;
  const bool wasFrozen = result.dumpJankResult.succ || !result.dumpJankResult.errorText.empty();
  return wasFrozen ? "Failed to write json file" : "Failed suspend thread";
}

Napi::Value ToScript(Napi::Env env, const CaptureJankResult& result) {
  const auto dump = Napi::Object::New(env);
  dump.Set("succ", Napi::Boolean::New(env, result.dumpJankResult.succ));
  addon::SetIfPresent(dump, "errorText", result.dumpJankResult.errorText);

  const auto stack = Napi::Object::New(env);
  addon::SetIfPresent(stack, "stackTrace", result.captureStackResult.stackTrace);
  addon::SetIfPresent(stack, "errorText", result.captureStackResult.errorText);

  const auto whole = Napi::Object::New(env);
  addon::SetIfPresent(whole, "jsonFilename", result.jsonFilename);
  whole.Set("dumpJankResult", dump);
  whole.Set("captureStackResult", stack);
  addon::SetIfPresent(whole, "errorText", ErrorTextOf(result));
  return whole;
}

constexpr addon::BackgroundFunction<CaptureJankResult> kCaptureNativeJank = {
    .threadName = "CaptureJank", .resourceName = "capture_native_jank_callback", .toScript = &ToScript};

}  // namespace

Napi::Value CaptureNativeJank(const Napi::CallbackInfo& info) {
  if (!info[0].IsObject() || !info[1].IsFunction()) return addon::ThrowBadArgument(info.Env());
  const Napi::Object object = info[0].ToObject();
  if (!HasAllProperties(object)) return addon::ThrowBadArgument(info.Env());
  return addon::RunInBackground(info.Env(), info[1].As<Napi::Function>(), kCaptureNativeJank,
                                [args = ReadArgs(object)](CaptureJankResult& result) { RunCapture(args, result); });
}

}  // namespace jank
