#include "jank/handlers.h"

#include <cstdint>
#include <string>
#include <tuple>

#include "addon/background_work.h"
#include "addon/script_values.h"
#include "jank/capture.h"
#include "jank/capture_records.h"

namespace jank {

namespace {

/// How a field's value comes from script: the type that its property must have, and the conversion.
template <typename Value>
struct ScriptType;

template <>
struct ScriptType<uint32_t> {
  static constexpr napi_valuetype kType = napi_number;
  static uint32_t Read(const Napi::Value& value) { return value.As<Napi::Number>().Uint32Value(); }
};

template <>
struct ScriptType<double> {
  static constexpr napi_valuetype kType = napi_number;
  static double Read(const Napi::Value& value) { return value.As<Napi::Number>().DoubleValue(); }
};

template <>
struct ScriptType<bool> {
  static constexpr napi_valuetype kType = napi_boolean;
  static bool Read(const Napi::Value& value) { return value.ToBoolean(); }
};

template <>
struct ScriptType<std::string> {
  static constexpr napi_valuetype kType = napi_string;
  static std::string Read(const Napi::Value& value) { return value.As<Napi::String>().Utf8Value(); }
};

template <>
struct ScriptType<std::wstring> {
  static constexpr napi_valuetype kType = napi_string;
  static std::wstring Read(const Napi::Value& value) { return addon::ToWide(value); }
};

template <typename Value>
bool HasType(const Napi::Object& object, const CaptureField<Value>& field) {
  const Napi::Value value = object.Get(field.property);
  return value.Type() == ScriptType<Value>::kType;
}

bool HasAllProperties(const Napi::Object& object) {
  return std::apply([&](const auto&... fields) { return (HasType(object, fields) && ...); }, kCaptureFields);
}

template <typename Value>
void ReadField(const Napi::Object& object, const CaptureField<Value>& field, CaptureJankArgs& args) {
  const Napi::Value value = object.Get(field.property);
  args.*field.value = ScriptType<Value>::Read(value);
}

CaptureJankArgs ReadArgs(const Napi::Object& object) {
  CaptureJankArgs args;
  std::apply([&](const auto&... fields) { (ReadField(object, fields, args), ...); }, kCaptureFields);
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
