// The add-on that the module is compared with. It has bare calls, which script times itself (bare_calls.h), and
// functions that measure what script cannot see.

#include <napi.h>

#include <windows.h>

#include <vector>

#include "addon/script_values.h"
#include "native/bare_calls.h"
#include "native/frozen_time.h"
#include "native/usage_sums.h"

namespace {

/// setAnswer(text): sets the string that answer() returns.
Napi::Value SetAnswer(const Napi::CallbackInfo& info) {
  bench::bareAnswer = info[0].As<Napi::String>().Utf8Value();
  return info.Env().Undefined();
}

/// emptyAnswer(): the same as answer(), but in the wrapper that node-addon-api puts around every function.
Napi::Value EmptyAnswer(const Napi::CallbackInfo& info) {
  return Napi::String::New(info.Env(), bench::bareAnswer);
}

/// latestFrozenTime(): returns nanoseconds (frozen_time.h).
Napi::Value LatestFrozenTime(const Napi::CallbackInfo& info) {
  return Napi::Number::New(info.Env(), bench::LatestFrozenTime());
}

/// bareCapture(processId, threadId, path): returns `{ nanoseconds, frames }`.
Napi::Value BareCapture(const Napi::CallbackInfo& info) {
  const auto capture = bench::CaptureBare(info[0].As<Napi::Number>().Uint32Value(),
                                          info[1].As<Napi::Number>().Uint32Value(), addon::ToWide(info[2]));
  const auto result = Napi::Object::New(info.Env());
  result.Set("nanoseconds", Napi::Number::New(info.Env(), capture.nanoseconds));
  result.Set("frames", Napi::Number::New(info.Env(), static_cast<double>(capture.frames)));
  return result;
}

std::vector<bench::Instance> instances;

/// makeInstances(count): makes the instances that the two functions below sum.
Napi::Value MakeInstances(const Napi::CallbackInfo& info) {
  instances = bench::MakeInstances(info[0].As<Napi::Number>().Uint32Value());
  return info.Env().Undefined();
}

/// sumInstances(rounds), sumInstancesBare(rounds): return `{ total, nanoseconds }`.
template <bench::TimedSums (*sum)(const std::vector<bench::Instance>&, size_t)>
Napi::Value SumInstances(const Napi::CallbackInfo& info) {
  const auto timed = sum(instances, info[0].As<Napi::Number>().Uint32Value());
  const auto result = Napi::Object::New(info.Env());
  result.Set("total", Napi::Number::New(info.Env(), timed.total));
  result.Set("nanoseconds", Napi::Number::New(info.Env(), timed.nanoseconds));
  return result;
}

void SetBare(Napi::Object exports, const char* name, napi_callback callback) {
  napi_value function = nullptr;
  napi_create_function(exports.Env(), nullptr, 0, callback, nullptr, &function);
  exports.Set(name, function);
}

Napi::Object Init(Napi::Env env, Napi::Object exports) {
  SetBare(exports, "answer", &bench::BareAnswer);
  SetBare(exports, "listProcesses", &bench::BareListProcesses);
  SetBare(exports, "threadCall", &bench::BareThreadCall);
  SetBare(exports, "workerCall", &bench::WorkerThreadCall);
  exports.Set("emptyAnswer", Napi::Function::New(env, &EmptyAnswer));
  exports.Set("setAnswer", Napi::Function::New(env, &SetAnswer));
  exports.Set("latestFrozenTime", Napi::Function::New(env, &LatestFrozenTime));
  exports.Set("bareCapture", Napi::Function::New(env, &BareCapture));
  exports.Set("makeInstances", Napi::Function::New(env, &MakeInstances));
  exports.Set("sumInstances", Napi::Function::New(env, &SumInstances<&bench::SumWithAccumulator>));
  exports.Set("sumInstancesBare", Napi::Function::New(env, &SumInstances<&bench::SumBare>));
  return exports;
}

}  // namespace

/// Replaces the module's import of CreateToolhelp32Snapshot: no snapshot.
extern "C" __declspec(dllexport) HANDLE WINAPI NoSnapshot(DWORD, DWORD) {
  return INVALID_HANDLE_VALUE;
}

NODE_API_MODULE(NODE_GYP_MODULE_NAME, Init)
