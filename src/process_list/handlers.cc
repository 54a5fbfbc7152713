#include "process_list/handlers.h"

#include <cstdint>

#include "addon/background_work.h"
#include "addon/script_values.h"
#include "process_list/process_list.h"

namespace process_list {

namespace {

Napi::Value ToScript(Napi::Env env, const ProcessList& processes) {
  const auto list = Napi::Array::New(env);
  uint32_t index = 0;
  for (const auto& [pid, name] : processes) {
    const auto process = Napi::Object::New(env);
    process.Set("pid", Napi::Number::New(env, pid));
    process.Set("name", Napi::String::New(env, name));
    list.Set(index++, process);
  }
  const auto result = Napi::Object::New(env);
  result.Set("list", list);
  return result;
}

constexpr addon::BackgroundFunction<ProcessList> kEnumProcessList = {
    .threadName = "EnumProcessList", .resourceName = "enum_process_list_callback", .toScript = &ToScript};

}  // namespace

Napi::Value EnumProcessList(const Napi::CallbackInfo& info) {
  if (info[0].Type() != napi_function) return addon::ThrowBadArgument(info.Env());
  return addon::RunInBackground(info.Env(), info[0].As<Napi::Function>(), kEnumProcessList, &ListProcesses);
}

}  // namespace process_list
