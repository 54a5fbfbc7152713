#include "native/bare_calls.h"

#include <windows.h>

#include <tlhelp32.h>

#include <cstdint>

#include "addon/worker_thread.h"
#include "win/get_function.h"

namespace bench {

namespace {

napi_value ListObject(napi_env env, napi_value list) {
  napi_value result = nullptr;
  napi_create_object(env, &result);
  napi_set_named_property(env, result, "list", list);
  return result;
}

napi_value ProcessObject(napi_env env, const PROCESSENTRY32W& entry) {
  napi_value process = nullptr;
  napi_value pid = nullptr;
  napi_value name = nullptr;
  napi_create_object(env, &process);
  napi_create_double(env, entry.th32ProcessID, &pid);
  napi_set_named_property(env, process, "pid", pid);
  napi_create_string_utf16(env, reinterpret_cast<const char16_t*>(entry.szExeFile), NAPI_AUTO_LENGTH, &name);
  napi_set_named_property(env, process, "name", name);
  return process;
}

// Looked up by name, because the import libraries of MinGW-w64 lack it.
auto* const setThreadDescription =
    win::GetFunction<HRESULT(WINAPI*)(HANDLE, PCWSTR)>(GetModuleHandleW(L"Kernel32.dll"), "SetThreadDescription");

void CallBack(napi_threadsafe_function function) {
  napi_call_threadsafe_function(function, nullptr, napi_tsfn_nonblocking);
  napi_release_threadsafe_function(function, napi_tsfn_release);
}

void CallScript(napi_env env, napi_value callback, void*, void*) {
  napi_value list = nullptr;
  napi_value undefined = nullptr;
  napi_create_array(env, &list);
  napi_value result = ListObject(env, list);
  napi_get_undefined(env, &undefined);
  napi_call_function(env, undefined, callback, 1, &result, nullptr);
}

napi_threadsafe_function MakeThreadSafeFunction(napi_env env, napi_callback_info info) {
  size_t count = 1;
  napi_value callback = nullptr;
  napi_value name = nullptr;
  napi_threadsafe_function function = nullptr;
  napi_get_cb_info(env, info, &count, &callback, nullptr, nullptr);
  napi_create_string_utf8(env, "bare", NAPI_AUTO_LENGTH, &name);
  napi_create_threadsafe_function(env, callback, nullptr, name, 0, 1, nullptr, nullptr, nullptr, &CallScript,
                                  &function);
  return function;
}

}  // namespace

std::string bareAnswer;

napi_value BareAnswer(napi_env env, napi_callback_info) {
  napi_value answer = nullptr;
  napi_create_string_utf8(env, bareAnswer.data(), bareAnswer.size(), &answer);
  return answer;
}

napi_value BareListProcesses(napi_env env, napi_callback_info) {
  napi_value list = nullptr;
  napi_create_array(env, &list);
  const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
  PROCESSENTRY32W entry{};
  entry.dwSize = sizeof(entry);
  uint32_t index = 0;
  for (BOOL more = Process32FirstW(snapshot, &entry); more; more = Process32NextW(snapshot, &entry)) {
    napi_set_element(env, list, index++, ProcessObject(env, entry));
  }
  CloseHandle(snapshot);
  return ListObject(env, list);
}

napi_value BareThreadCall(napi_env env, napi_callback_info info) {
  const napi_threadsafe_function function = MakeThreadSafeFunction(env, info);
  const auto run = [](void* data) -> DWORD {
    setThreadDescription(GetCurrentThread(), L"EnumProcessList");
    CallBack(static_cast<napi_threadsafe_function>(data));
    return 0;
  };
  CloseHandle(CreateThread(nullptr, 0, run, function, 0, nullptr));
  return nullptr;
}

napi_value WorkerThreadCall(napi_env env, napi_callback_info info) {
  addon::StartWorker("EnumProcessList", [function = MakeThreadSafeFunction(env, info)] { CallBack(function); });
  return nullptr;
}

}  // namespace bench
