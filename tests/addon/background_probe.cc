#include "addon/background_probe.h"

#include <windows.h>

#include <atomic>

#include "addon/background_work.h"
#include "support/import_patch.h"

// The slots through which this add-on calls the two functions. The first call binds the host's functions to them.
extern "C" void* __imp_napi_call_threadsafe_function;
extern "C" void* __imp_napi_release_threadsafe_function;

namespace testing_support {

namespace {

std::atomic<int> liveRecords = 0;

struct CountedRecord {
  CountedRecord() { ++liveRecords; }
  ~CountedRecord() { --liveRecords; }
  CountedRecord(const CountedRecord&) = delete;
  CountedRecord& operator=(const CountedRecord&) = delete;
};

Napi::Value ToScript(Napi::Env env, const CountedRecord&) {
  return Napi::Number::New(env, 1);
}

constexpr addon::BackgroundFunction<CountedRecord> kProbe = {
    .threadName = "Probe", .resourceName = "probe_callback", .toScript = &ToScript};

HANDLE EndEvent() {
  static const HANDLE event = CreateEventW(nullptr, /*bManualReset=*/TRUE, FALSE, nullptr);
  return event;
}

Napi::Value StartProbe(const Napi::CallbackInfo& info) {
  return addon::RunInBackground(info.Env(), info[0].As<Napi::Function>(), kProbe,
                                [](CountedRecord&) { WaitForSingleObject(EndEvent(), INFINITE); });
}

Napi::Value EndProbes(const Napi::CallbackInfo& info) {
  SetEvent(EndEvent());
  return info.Env().Undefined();
}

Napi::Value LiveRecords(const Napi::CallbackInfo& info) {
  return Napi::Number::New(info.Env(), liveRecords);
}

template <typename Function>
Function* HostFunction(const char* name) {
  return reinterpret_cast<Function*>(GetProcAddress(GetModuleHandleW(nullptr), name));
}

std::atomic<int> releases = 0;
std::atomic<napi_status> refusal = napi_ok;

napi_status NAPI_CDECL CountRelease(napi_threadsafe_function function, napi_threadsafe_function_release_mode mode) {
  ++releases;
  return HostFunction<decltype(napi_release_threadsafe_function)>("napi_release_threadsafe_function")(function, mode);
}

/// As Node.js does it, a refusal because of closing also takes the calling thread off the function's list.
napi_status NAPI_CDECL Refuse(napi_threadsafe_function function, void*, napi_threadsafe_function_call_mode) {
  if (refusal == napi_closing) {
    HostFunction<decltype(napi_release_threadsafe_function)>("napi_release_threadsafe_function")(function,
                                                                                                 napi_tsfn_release);
  }
  return refusal;
}

Napi::Value RefuseCalls(const Napi::CallbackInfo& info) {
  refusal = static_cast<napi_status>(info[0].As<Napi::Number>().Int32Value());
  WriteImportSlot(&__imp_napi_call_threadsafe_function, reinterpret_cast<void*>(&Refuse));
  WriteImportSlot(&__imp_napi_release_threadsafe_function, reinterpret_cast<void*>(&CountRelease));
  return info.Env().Undefined();
}

Napi::Value Releases(const Napi::CallbackInfo& info) {
  return Napi::Number::New(info.Env(), releases);
}

}  // namespace

void AddBackgroundProbe(Napi::Env env, Napi::Object exports) {
  exports.Set("startProbe", Napi::Function::New(env, &StartProbe));
  exports.Set("endProbes", Napi::Function::New(env, &EndProbes));
  exports.Set("liveRecords", Napi::Function::New(env, &LiveRecords));
  exports.Set("refuseCalls", Napi::Function::New(env, &RefuseCalls));
  exports.Set("releases", Napi::Function::New(env, &Releases));
}

}  // namespace testing_support
