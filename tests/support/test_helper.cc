// The add-on through which script tests reach what script cannot. It works on the loaded module from outside, by its
// import table, so that the module needs no switch for tests.

#include <napi.h>

#include <windows.h>

#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "support/import_patch.h"
#include "win/text.h"

namespace {

HMODULE ModuleUnderTest() {
  return GetModuleHandleW(L"borvanta-util.node");
}

/// importNames(): every function that the module imports from a system DLL.
Napi::Value ImportNames(const Napi::CallbackInfo& info) {
  const auto names = Napi::Array::New(info.Env());
  uint32_t index = 0;
  testing_support::ForEachImport(ModuleUnderTest(), [&](const char*, const char* name, void**) {
    names.Set(index++, Napi::String::New(info.Env(), name));
  });
  return names;
}

std::mutex threadNamesLock;
std::vector<std::string> threadNames;
HRESULT(WINAPI* setThreadDescription)(HANDLE, PCWSTR) = nullptr;

HRESULT WINAPI RecordThreadName(HANDLE thread, PCWSTR name) {
  {
    const std::lock_guard lock(threadNamesLock);
    threadNames.push_back(win::WideToUtf8(name));
  }
  return setThreadDescription(thread, name);
}

FARPROC WINAPI FindThreadNaming(HMODULE module, LPCSTR name) {
  const FARPROC found = GetProcAddress(module, name);
  if (std::strcmp(name, "SetThreadDescription") != 0) return found;
  setThreadDescription = reinterpret_cast<decltype(setThreadDescription)>(found);
  return reinterpret_cast<FARPROC>(&RecordThreadName);
}

/// recordThreadNames(): from now on the names that the module gives to its threads are recorded.
Napi::Value RecordThreadNames(const Napi::CallbackInfo& info) {
  static const testing_support::ImportPatch patch(ModuleUnderTest(), "GetProcAddress", &FindThreadNaming);
  return info.Env().Undefined();
}

/// threadNames(): what has been recorded.
Napi::Value ThreadNames(const Napi::CallbackInfo& info) {
  const std::lock_guard lock(threadNamesLock);
  const auto names = Napi::Array::New(info.Env());
  for (uint32_t index = 0; index < threadNames.size(); ++index)
    names.Set(index, threadNames[index]);
  return names;
}

Napi::Object Init(Napi::Env env, Napi::Object exports) {
  exports.Set("importNames", Napi::Function::New(env, &ImportNames));
  exports.Set("recordThreadNames", Napi::Function::New(env, &RecordThreadNames));
  exports.Set("threadNames", Napi::Function::New(env, &ThreadNames));
  return exports;
}

}  // namespace

NODE_API_MODULE(NODE_GYP_MODULE_NAME, Init)
