// A dbghelp.dll only for tests in Wine. dbghelp.def forwards to Wine's own dbghelp.dll, and this file works around
// three defects of Wine 8. It is not built on Windows, which does not have these defects.
// - MiniDumpWriteDump dereferences the exception pointers, which may be null on Windows, and the process crashes. So
//   this file passes pointers to the stalled thread's context.
// - MiniDumpWriteDump copies the unwind data of every function of every module, one function at a time. Node.js has
//   100,000 functions, and its thread would stand still for 12 seconds. So this file lets these reads fail, and the
//   dump is written without the copies.
// - SymInitialize reads the debug information of all modules at once, which takes 2 seconds. So this file sets the
//   option that reads it only when it is needed.

#include <windows.h>

#include <dbghelp.h>

namespace {

decltype(&MiniDumpWriteDump) realMiniDumpWriteDump = nullptr;
bool dumping = false;  // Only one thread at a time calls DbgHelp.

/// Replaces the real library's import of ReadProcessMemory.
BOOL WINAPI ReadMemory(HANDLE process, const void* from, void* to, SIZE_T size, SIZE_T* read) {
  constexpr SIZE_T kUnwindHeaderSize = 6;
  return !(dumping && size == kUnwindHeaderSize) && ReadProcessMemory(process, from, to, size, read);
}

template <typename Function>
Function* Find(HMODULE module, const char* name) {
  return reinterpret_cast<Function*>(GetProcAddress(module, name));
}

}  // namespace

extern "C" __declspec(dllexport) BOOL WINAPI MiniDumpWriteDump(HANDLE process, DWORD processId, HANDLE file,
                                                               MINIDUMP_TYPE type,
                                                               const PMINIDUMP_EXCEPTION_INFORMATION exception,
                                                               const PMINIDUMP_USER_STREAM_INFORMATION streams,
                                                               const PMINIDUMP_CALLBACK_INFORMATION callback) {
  if (!exception || exception->ExceptionPointers) {
    return realMiniDumpWriteDump(process, processId, file, type, exception, streams, callback);
  }
  CONTEXT context{};
  context.ContextFlags = CONTEXT_ALL;
  const HANDLE thread = OpenThread(THREAD_GET_CONTEXT, FALSE, exception->ThreadId);
  GetThreadContext(thread, &context);
  CloseHandle(thread);
  EXCEPTION_RECORD record{};
  EXCEPTION_POINTERS pointers{&record, &context};
  MINIDUMP_EXCEPTION_INFORMATION filled{exception->ThreadId, &pointers, FALSE};
  dumping = true;
  const BOOL written = realMiniDumpWriteDump(process, processId, file, type, &filled, streams, callback);
  dumping = false;
  return written;
}

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
  if (reason != DLL_PROCESS_ATTACH) return TRUE;
  const HMODULE real = LoadLibraryW(L"C:\\windows\\system32\\dbghelp.dll");
  if (!real) return FALSE;
  realMiniDumpWriteDump = Find<decltype(MiniDumpWriteDump)>(real, "MiniDumpWriteDump");
  Find<decltype(SymSetOptions)>(real, "SymSetOptions")(SYMOPT_DEFERRED_LOADS);
  const auto importsOf = Find<decltype(ImageDirectoryEntryToData)>(real, "ImageDirectoryEntryToData");
  const auto read = Find<decltype(ReadProcessMemory)>(GetModuleHandleW(L"kernelbase"), "ReadProcessMemory");
  ULONG size = 0;
  auto import = static_cast<decltype(&ReadProcessMemory)*>(importsOf(real, TRUE, IMAGE_DIRECTORY_ENTRY_IAT, &size));
  DWORD protection = 0;
  VirtualProtect(import, size, PAGE_READWRITE, &protection);
  while (*import != read)
    ++import;
  *import = &ReadMemory;
  return TRUE;
}
