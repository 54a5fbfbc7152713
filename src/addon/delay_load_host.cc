// The module's imports of Node-API name "node.exe", but the client's executable is called otherwise. They are
// delay-loaded, and this hook binds them to whatever executable hosts the process. It has no header: the linker's
// delay-load helper finds it by its name.

#include <windows.h>

#include <delayimp.h>

#include <cstring>

namespace {

FARPROC WINAPI BindToHost(unsigned notification, PDelayLoadInfo info) {
  if (notification != dliNotePreLoadLibrary || _stricmp(info->szDll, "node.exe") != 0) return nullptr;
  return reinterpret_cast<FARPROC>(GetModuleHandleW(nullptr));
}

}  // namespace

// MSVC's delayimp.h declares the hook const, MinGW-w64's does not.
extern "C" {
#ifdef _MSC_VER
const PfnDliHook __pfnDliNotifyHook2 = &BindToHost;
#else
PfnDliHook __pfnDliNotifyHook2 = &BindToHost;
#endif
}
