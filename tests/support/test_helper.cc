// The add-on through which script tests reach what script cannot. It works on the loaded module from outside, by its
// import table, so that the module needs no switch for tests.

#include <napi.h>

#include <windows.h>
// Needs windows.h.
#include <objbase.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

#include "jank/dbghelp_functions.h"
#include "support/import_patch.h"
#include "win/get_function.h"
#include "win/text.h"

namespace {

HMODULE ModuleUnderTest() {
  return GetModuleHandleW(L"borvanta-util.node");
}

/// apiVersion(): the version of Node-API that the module says it is written against.
Napi::Value ApiVersion(const Napi::CallbackInfo& info) {
  const auto version = win::GetFunction<int32_t (*)()>(ModuleUnderTest(), "node_api_module_get_api_version_v1");
  return Napi::Number::New(info.Env(), version());
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

/// The module's DbgHelp table, found as other native code of the client finds it: by the export's name alone.
DbgHelpFunctions* DbgHelpTable() {
  const auto get = win::GetFunction<decltype(&GetDbgHelpFunctions)>(ModuleUnderTest(), "GetDbgHelpFunctions");
  return get ? get() : nullptr;
}

/// useDbgHelpTable(): uses the table under its lock, entered twice because it is re-entrant: the file name of the
/// module that holds a function of kernel32, undefined without a table that is complete and always the same.
Napi::Value UseDbgHelpTable(const Napi::CallbackInfo& info) {
  DbgHelpFunctions* const table = DbgHelpTable();
  auto** const fields = reinterpret_cast<void**>(table);
  if (!table || table != DbgHelpTable() || std::count(fields, fields + 11, nullptr) != 0) return info.Env().Undefined();
  table->Lock();
  table->Lock();
  const auto address = reinterpret_cast<DWORD64>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "Sleep"));
  const auto base = reinterpret_cast<HMODULE>(table->SymGetModuleBase64(GetCurrentProcess(), address));
  table->Unlock();
  table->Unlock();
  std::array<char, MAX_PATH> path{};
  GetModuleFileNameA(base, path.data(), static_cast<DWORD>(path.size()));
  return Napi::String::New(info.Env(), std::strrchr(path.data(), '\\') + 1);
}

/// comInitialize(), comUninitialize(): enters and leaves a COM apartment on the script thread, as a host may.
Napi::Value ComInitialize(const Napi::CallbackInfo& info) {
  return Napi::Number::New(info.Env(), CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED));
}

Napi::Value ComUninitialize(const Napi::CallbackInfo& info) {
  CoUninitialize();
  return info.Env().Undefined();
}

Napi::Object Init(Napi::Env env, Napi::Object exports) {
  exports.Set("apiVersion", Napi::Function::New(env, &ApiVersion));
  exports.Set("recordThreadNames", Napi::Function::New(env, &RecordThreadNames));
  exports.Set("threadNames", Napi::Function::New(env, &ThreadNames));
  exports.Set("useDbgHelpTable", Napi::Function::New(env, &UseDbgHelpTable));
  exports.Set("comInitialize", Napi::Function::New(env, &ComInitialize));
  exports.Set("comUninitialize", Napi::Function::New(env, &ComUninitialize));
  return exports;
}

}  // namespace

NODE_API_MODULE(NODE_GYP_MODULE_NAME, Init)
