// A dbghelp.dll only for tests in Wine. dbghelp.def forwards to Wine's own dbghelp.dll, and this file works around two
// defects of Wine 10. It is not built on Windows, which does not have these defects.
// - MiniDumpWriteDump dereferences the exception pointers, which may be null on Windows, and the process crashes. So
//   this file passes pointers to the stalled thread's context.
// - SymInitialize reads the debug information of all modules at once: a capture of Node.js then takes 1.2 to 2.0
//   seconds instead of 0.5. So this file sets the option that reads it only when it is needed.

#include <windows.h>

#include <dbghelp.h>

namespace {

decltype(&MiniDumpWriteDump) realMiniDumpWriteDump = nullptr;

template <typename Function>
Function* Find(HMODULE module, const char* name) {
  return reinterpret_cast<Function*>(GetProcAddress(module, name));
}

}  // namespace

extern "C" BOOL WINAPI MiniDumpWriteDump(HANDLE process, DWORD processId, HANDLE file, MINIDUMP_TYPE type,
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
  return realMiniDumpWriteDump(process, processId, file, type, &filled, streams, callback);
}

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
  if (reason != DLL_PROCESS_ATTACH) return TRUE;
  const HMODULE real = LoadLibraryW(L"C:\\windows\\system32\\dbghelp.dll");
  if (!real) return FALSE;
  realMiniDumpWriteDump = Find<decltype(MiniDumpWriteDump)>(real, "MiniDumpWriteDump");
  Find<decltype(SymSetOptions)>(real, "SymSetOptions")(SYMOPT_DEFERRED_LOADS);
  return TRUE;
}
