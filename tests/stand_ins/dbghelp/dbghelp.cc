// A dbghelp.dll for the test platform alone. Wine 8's MiniDumpWriteDump dereferences the exception pointers, which may
// be null on Windows, and takes the process down. This library forwards everything to the system's own dbghelp.dll and
// fills in the stalled thread's context where they are null. Built with MinGW only: Windows needs no remedy.

#include <windows.h>

namespace {

struct ExceptionInformation {
  DWORD threadId;
  EXCEPTION_POINTERS* pointers;
  BOOL clientPointers;
} __attribute__((packed, aligned(4)));

}  // namespace

#define FORWARD(name)                                        \
  extern "C" {                                               \
  FARPROC real_##name = nullptr;                             \
  __declspec(dllexport) __attribute__((naked)) void name() { \
    asm("jmp *real_" #name "(%rip)");                        \
  }                                                          \
  }
// clang-format off
#define FORWARDED(X)                                                                                        \
  X(SymInitialize) X(SymCleanup) X(StackWalk64) X(SymFunctionTableAccess64) X(SymGetModuleBase64)           \
  X(EnumerateLoadedModulesW64) X(SymRefreshModuleList) X(SymFromAddrW) X(SymFromAddr) X(SymSetSearchPathW)  \
  X(SymGetSearchPathW) X(SymSetOptions) X(SymGetOptions) X(SymGetLineFromAddr64) X(UnDecorateSymbolName)
// clang-format on
FORWARDED(FORWARD)

namespace {

using MiniDumpFunction = BOOL(WINAPI*)(HANDLE, DWORD, HANDLE, int, const ExceptionInformation*, const void*,
                                       const void*);
MiniDumpFunction realMiniDumpWriteDump = nullptr;

}  // namespace

extern "C" __declspec(dllexport) BOOL WINAPI
    MiniDumpWriteDump(HANDLE process, DWORD processId, HANDLE file, int type, const ExceptionInformation* exception,
                      const void* streams, const void* callback) {
  if (!exception || exception->pointers) {
    return realMiniDumpWriteDump(process, processId, file, type, exception, streams, callback);
  }
  CONTEXT context{};
  context.ContextFlags = CONTEXT_ALL;
  const HANDLE thread = OpenThread(THREAD_GET_CONTEXT, FALSE, exception->threadId);
  GetThreadContext(thread, &context);
  CloseHandle(thread);
  EXCEPTION_RECORD record{};
  EXCEPTION_POINTERS pointers{&record, &context};
  const ExceptionInformation filled{exception->threadId, &pointers, FALSE};
  return realMiniDumpWriteDump(process, processId, file, type, &filled, streams, callback);
}

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
  if (reason != DLL_PROCESS_ATTACH) return TRUE;
  const HMODULE real = LoadLibraryW(L"C:\\windows\\system32\\dbghelp.dll");
  if (!real) return FALSE;
#define RESOLVE(name) real_##name = GetProcAddress(real, #name);
  FORWARDED(RESOLVE)
  realMiniDumpWriteDump = reinterpret_cast<MiniDumpFunction>(GetProcAddress(real, "MiniDumpWriteDump"));
  return TRUE;
}
