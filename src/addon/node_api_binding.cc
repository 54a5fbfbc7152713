// Binds the module's imports of Node-API when the module is loaded. The imports name "node.exe", but the client's
// executable has another name, so they are delay-loaded and bound here to the module that really exports Node-API: the
// host executable, or the DLL in which an embedder keeps Node.js. All of them are bound at once, because the compilers'
// code for binding one at its first call may overwrite the floating-point arguments of that very call.
//
// Where nothing in the process exports Node-API, the load fails, and the loading script gets an error that it can read.
// This file has no header: the loader and the linker's delay-load helper find its functions by their names.

#include <windows.h>

#include <delayimp.h>
// Needs windows.h.
#include <psapi.h>

#include <array>
#include <cstddef>
#include <cstring>

namespace {

bool ExportsNodeApi(HMODULE module) {
  return GetProcAddress(module, "napi_create_function") != nullptr;
}

/// The loaded module that exports Node-API; null when there is none.
HMODULE FindNodeApi() {
  const HMODULE host = GetModuleHandleW(nullptr);
  if (ExportsNodeApi(host)) return host;
  std::array<HMODULE, 1024> modules{};
  DWORD size = 0;
  if (!EnumProcessModules(GetCurrentProcess(), modules.data(), sizeof(modules), &size)) return nullptr;
  for (size_t index = 0; index < modules.size() && index < size / sizeof(HMODULE); ++index) {
    if (ExportsNodeApi(modules[index])) return modules[index];
  }
  return nullptr;
}

FARPROC WINAPI AnswerDelayLoadHelper(unsigned notification, PDelayLoadInfo info) {
  if (notification != dliNotePreLoadLibrary || _stricmp(info->szDll, "node.exe") != 0) return nullptr;
  return reinterpret_cast<FARPROC>(FindNodeApi());
}

}  // namespace

extern "C" {

// MSVC's delayimp.h declares the hook const, MinGW-w64's does not.
#ifdef _MSC_VER
const PfnDliHook __pfnDliNotifyHook2 = &AnswerDelayLoadHelper;
#else
PfnDliHook __pfnDliNotifyHook2 = &AnswerDelayLoadHelper;

// MinGW-w64's linker tells the delay-load helper nothing of its table as a whole, so __HrLoadAllImportsForDll finds
// nothing. dlltool names the table after the import library (cmake/NodeApi.cmake).
extern const ImgDelayDescr __DELAY_IMPORT_DESCRIPTOR_libnode_api_delay_a;
extern IMAGE_DOS_HEADER __ImageBase;
#endif
}

namespace {

/// True when every function of Node-API that the module imports has been found.
bool BindNodeApi() {
#ifdef _MSC_VER
  return FindNodeApi() && SUCCEEDED(__HrLoadAllImportsForDll("node.exe"));
#else
  const HMODULE nodeApi = FindNodeApi();
  if (!nodeApi) return false;
  std::byte* const base = reinterpret_cast<std::byte*>(&__ImageBase);
  const auto& table = __DELAY_IMPORT_DESCRIPTOR_libnode_api_delay_a;
  auto* name = reinterpret_cast<const IMAGE_THUNK_DATA*>(base + table.rvaINT);
  auto* slot = reinterpret_cast<IMAGE_THUNK_DATA*>(base + table.rvaIAT);
  for (; name->u1.AddressOfData; ++name, ++slot) {
    const auto* const byName = reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + name->u1.AddressOfData);
    const FARPROC function = GetProcAddress(nodeApi, reinterpret_cast<const char*>(byName->Name));
    if (!function) return false;
    slot->u1.Function = reinterpret_cast<ULONGLONG>(function);
  }
  return true;
#endif
}

}  // namespace

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
  return reason != DLL_PROCESS_ATTACH || BindNodeApi() ? TRUE : FALSE;
}
