// A dbghelp.dll for the test platform only. In Wine 8, MiniDumpWriteDump dereferences the exception pointers, which may
// be null on Windows, and takes the process down. This library fills in the context of the stalled thread if they are
// null. dbghelp.def forwards all else to the system's own dbghelp.dll. Built with MinGW only: Windows needs no remedy.

#include <windows.h>

#include <dbghelp.h>

extern "C" __declspec(dllexport) BOOL WINAPI
    MiniDumpWriteDump(HANDLE process, DWORD processId, HANDLE file, MINIDUMP_TYPE type,
                      const PMINIDUMP_EXCEPTION_INFORMATION exception, const PMINIDUMP_USER_STREAM_INFORMATION streams,
                      const PMINIDUMP_CALLBACK_INFORMATION callback) {
  const HMODULE system = LoadLibraryW(L"C:\\windows\\system32\\dbghelp.dll");
  const auto real = reinterpret_cast<decltype(&MiniDumpWriteDump)>(GetProcAddress(system, "MiniDumpWriteDump"));
  if (!exception || exception->ExceptionPointers) {
    return real(process, processId, file, type, exception, streams, callback);
  }
  CONTEXT context{};
  context.ContextFlags = CONTEXT_ALL;
  const HANDLE thread = OpenThread(THREAD_GET_CONTEXT, FALSE, exception->ThreadId);
  GetThreadContext(thread, &context);
  CloseHandle(thread);
  EXCEPTION_RECORD record{};
  EXCEPTION_POINTERS pointers{&record, &context};
  MINIDUMP_EXCEPTION_INFORMATION filled{exception->ThreadId, &pointers, FALSE};
  return real(process, processId, file, type, &filled, streams, callback);
}
