// A second native module: it finds the DbgHelp table in the loaded borvanta-util.node as other native code of the
// client does, by the export's name alone, and uses it and its lock.

#include <napi.h>

#include <windows.h>

#include "jank/dbghelp_functions.h"
#include "win/get_function.h"

namespace {

DbgHelpFunctions* Table() {
  const auto get =
      win::GetFunction<decltype(&GetDbgHelpFunctions)>(GetModuleHandleW(L"borvanta-util.node"), "GetDbgHelpFunctions");
  return get ? get() : nullptr;
}

/// useTable(): the module base of a function of kernel32 as DbgHelp sees it, compared with the loader's; run under the
/// table's lock, entered twice because it is re-entrant.
Napi::Value UseTable(const Napi::CallbackInfo& info) {
  DbgHelpFunctions* const table = Table();
  const auto result = Napi::Object::New(info.Env());
  result.Set("samePointer", Napi::Boolean::New(info.Env(), table != nullptr && table == Table()));
  if (!table) return result;
  auto** const fields = reinterpret_cast<void**>(table);
  uint32_t set = 0;
  for (int index = 0; index < 11; ++index)
    set += fields[index] != nullptr ? 1 : 0;
  result.Set("fieldsSet", Napi::Number::New(info.Env(), set));

  table->Lock();
  table->Lock();
  const HMODULE kernel32 = GetModuleHandleW(L"kernel32.dll");
  const auto address = reinterpret_cast<DWORD64>(GetProcAddress(kernel32, "Sleep"));
  const DWORD64 base = table->SymGetModuleBase64(GetCurrentProcess(), address);
  table->Unlock();
  table->Unlock();
  result.Set("findsModule", Napi::Boolean::New(info.Env(), base == reinterpret_cast<DWORD64>(kernel32)));
  return result;
}

Napi::Object Init(Napi::Env env, Napi::Object exports) {
  exports.Set("useTable", Napi::Function::New(env, &UseTable));
  return exports;
}

}  // namespace

NODE_API_MODULE(NODE_GYP_MODULE_NAME, Init)
