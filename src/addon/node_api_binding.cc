// Binds the module's imports of Node-API when the module is loaded. The imports name "NODE.EXE", but the client's
// executable has another name. So they are delay-loaded and are bound here to the loaded module that exports Node-API:
// the host executable, or the DLL in which some hosts keep Node.js. All of them are bound at once, because the code
// that binds a delay-loaded function at its first call may overwrite the floating-point arguments of that call.
//
// If no loaded module exports Node-API, or a function is missing there, this module fails to load, and the loading
// script gets an error that it can catch. This file has no header: the loader and the linker's delay-load helper find
// its functions by their names.

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

/// The loaded module that exports Node-API; null if there is none.
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

}  // namespace

#ifdef _MSC_VER

namespace {

/// The name of the imported file, as the import library spells it.
constexpr char kImportedName[] = "NODE.EXE";

FARPROC WINAPI AnswerDelayLoadHelper(unsigned notification, PDelayLoadInfo info) {
  if (notification != dliNotePreLoadLibrary || _stricmp(info->szDll, kImportedName) != 0) return nullptr;
  return reinterpret_cast<FARPROC>(FindNodeApi());
}

/// True if every function of Node-API that the module imports has been found.
bool BindNodeApi() {
  if (!FindNodeApi()) return false;
  __try {
    return SUCCEEDED(__HrLoadAllImportsForDll(kImportedName));
  } __except (EXCEPTION_EXECUTE_HANDLER) {
    // The delay-load helper raises an exception for a function that it does not find.
    return false;
  }
}

}  // namespace

extern "C" const PfnDliHook __pfnDliNotifyHook2 = &AnswerDelayLoadHelper;

#else

// MinGW-w64's delay-load helper cannot find the table of imports: its __HrLoadAllImportsForDll does nothing. So
// BindNodeApi fills the table itself. dlltool names the table after the import library (cmake/NodeApi.cmake).
extern "C" const ImgDelayDescr __DELAY_IMPORT_DESCRIPTOR_libnode_api_delay_a;
extern "C" IMAGE_DOS_HEADER __ImageBase;

namespace {

/// Memory of the module that can be written to as long as this object lives.
class WritableMemory {
 public:
  WritableMemory(void* start, size_t size) : start_(start), size_(size) {
    writable_ = VirtualProtect(start_, size_, PAGE_READWRITE, &protection_) != FALSE;
  }
  ~WritableMemory() {
    if (writable_) VirtualProtect(start_, size_, protection_, &protection_);
  }
  WritableMemory(const WritableMemory&) = delete;
  WritableMemory& operator=(const WritableMemory&) = delete;

  explicit operator bool() const { return writable_; }

 private:
  void* start_;
  size_t size_;
  DWORD protection_ = 0;
  bool writable_;
};

/// True if every function of Node-API that the module imports has been found.
bool BindNodeApi() {
  const HMODULE nodeApi = FindNodeApi();
  if (!nodeApi) return false;
  std::byte* const base = reinterpret_cast<std::byte*>(&__ImageBase);
  const auto& table = __DELAY_IMPORT_DESCRIPTOR_libnode_api_delay_a;
  auto* name = reinterpret_cast<const IMAGE_THUNK_DATA*>(base + table.rvaINT);
  auto* slot = reinterpret_cast<IMAGE_THUNK_DATA*>(base + table.rvaIAT);
  size_t count = 0;
  while (name[count].u1.AddressOfData)
    ++count;
  // Some linkers put the table into memory that is only for reading.
  const WritableMemory writable(slot, count * sizeof(*slot));
  if (!writable) return false;
  for (; name->u1.AddressOfData; ++name, ++slot) {
    const auto* const byName = reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + name->u1.AddressOfData);
    const FARPROC function = GetProcAddress(nodeApi, reinterpret_cast<const char*>(byName->Name));
    if (!function) return false;
    slot->u1.Function = reinterpret_cast<ULONGLONG>(function);
  }
  return true;
}

}  // namespace

#endif

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
  return reason != DLL_PROCESS_ATTACH || BindNodeApi() ? TRUE : FALSE;
}
