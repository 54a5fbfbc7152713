// A dbghelp.dll for the test platform only. It forwards everything to the system's own dbghelp.dll and mends three
// defects of Wine 8. Built with MinGW only: Windows needs no remedy.
// - MiniDumpWriteDump dereferences the exception pointers, which may be null on Windows, and takes the process down:
//   the stalled thread's context is filled in.
// - MiniDumpWriteDump copies the unwind data of every function of every module, one function at a time. Node.js has
//   100,000, and its thread stands still for 12 seconds: these reads fail, and the dump is written without the copies.
// - SymInitialize reads the debug information of all modules at once, 2 seconds of work: it is left until it is needed.

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
bool dumping = false;  // DbgHelp's callers let one another finish

/// Stands in for the real library's import of ReadProcessMemory.
BOOL WINAPI ReadMemory(HANDLE process, const void* from, void* to, SIZE_T size, SIZE_T* read) {
  constexpr SIZE_T kUnwindHeaderSize = 6;
  return !(dumping && size == kUnwindHeaderSize) && ReadProcessMemory(process, from, to, size, read);
}

void ReplaceImport(HMODULE module, FARPROC function, FARPROC replacement) {
  const auto base = reinterpret_cast<unsigned char*>(module);
  const auto& headers =
      *reinterpret_cast<IMAGE_NT_HEADERS*>(base + reinterpret_cast<IMAGE_DOS_HEADER*>(base)->e_lfanew);
  const auto& table = headers.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IAT];
  const auto slots = reinterpret_cast<FARPROC*>(base + table.VirtualAddress);
  DWORD protection = 0;
  VirtualProtect(slots, table.Size, PAGE_READWRITE, &protection);
  for (DWORD i = 0; i < table.Size / sizeof(FARPROC); ++i) {
    if (slots[i] == function) slots[i] = replacement;
  }
  VirtualProtect(slots, table.Size, protection, &protection);
}

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
  dumping = true;
  const BOOL written = realMiniDumpWriteDump(process, processId, file, type, &filled, streams, callback);
  dumping = false;
  return written;
}

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
  if (reason != DLL_PROCESS_ATTACH) return TRUE;
  const HMODULE real = LoadLibraryW(L"C:\\windows\\system32\\dbghelp.dll");
  if (!real) return FALSE;
#define RESOLVE(name) real_##name = GetProcAddress(real, #name);
  FORWARDED(RESOLVE)
  realMiniDumpWriteDump = reinterpret_cast<MiniDumpFunction>(GetProcAddress(real, "MiniDumpWriteDump"));
  ReplaceImport(real, GetProcAddress(GetModuleHandleW(L"kernel32"), "ReadProcessMemory"),
                reinterpret_cast<FARPROC>(&ReadMemory));
  constexpr DWORD kDeferredLoads = 4;
  reinterpret_cast<DWORD(WINAPI*)(DWORD)>(real_SymSetOptions)(kDeferredLoads);
  return TRUE;
}
