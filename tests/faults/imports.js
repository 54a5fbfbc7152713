'use strict';
// Every function that the module imports or looks up: how it fails, or in a word why it is not made to.

const refused = 5; // ERROR_ACCESS_DENIED
const noMemory = 8; // ERROR_NOT_ENOUGH_MEMORY
const late = true;

/** What a function that fails returns, the last error, and whether it does its work all the same. */
exports.fallible = {
  CloseHandle: [0, 6, late],
  CoCreateInstance: [-2147024882],
  CreateEventA: [0, noMemory],
  CreateFileW: [-1, refused],
  CreateMutexA: [0, noMemory],
  CreateToolhelp32Snapshot: [-1, noMemory],
  DeviceIoControl: [0, refused],
  DuplicateHandle: [0, refused],
  FindResourceExW: [0, 1813],
  GetAdaptersInfo: [50],
  GetFileAttributesA: [-1, refused],
  GetHandleInformation: [0, 6],
  GetModuleFileNameW: [0, noMemory],
  GetModuleHandleA: [0, 126],
  GetModuleHandleW: [0, 126],
  GetProcAddress: [0, 127],
  GetThreadContext: [0, refused],
  GetThreadPriority: [0x7fffffff, refused],
  GetVolumeInformationW: [0, refused],
  GlobalAlloc: [0, noMemory],
  GlobalFree: [1, 6, late],
  LoadLibraryExW: [0, 126],
  LoadLibraryW: [0, 126],
  LoadResource: [0, 1813],
  LockResource: [0, 1813],
  MultiByteToWideChar: [0, 1113],
  OpenProcess: [0, refused],
  OpenThread: [0, refused],
  PdhAddCounterW: [-1073738823],
  PdhCloseQuery: [-1073738820, 0, late],
  PdhCollectQueryData: [-2147481643],
  PdhGetFormattedCounterArrayW: [-1073738810],
  PdhOpenQueryW: [-1073738821],
  PdhRemoveCounter: [-1073738820, 0, late],
  Process32FirstW: [0, 18],
  Process32NextW: [0, 18],
  RegCloseKey: [6, 0, late],
  RegCreateKeyExW: [refused],
  RegDeleteValueW: [refused],
  RegEnumKeyExW: [259],
  RegOpenKeyExA: [refused],
  RegOpenKeyExW: [refused],
  RegQueryValueExA: [2],
  RegQueryValueExW: [2],
  RegSetValueExW: [refused],
  ResetEvent: [0, 6],
  ResumeThread: [-1, refused, late],
  SetThreadDescription: [-2147467259],
  SetThreadPriority: [0, refused],
  SizeofResource: [0, 1813],
  SuspendThread: [-1, refused],
  SysAllocStringLen: [0],
  SystemTimeToFileTime: [0, 87],
  TlsAlloc: [-1, noMemory],
  VerifyVersionInfoW: [0, 1150],
  VirtualAlloc: [0, noMemory],
  VirtualFree: [0, 487, late],
  WideCharToMultiByte: [0, 1113],
  WinVerifyTrust: [-2146762496, 0, late],
  WriteFile: [0, 112],
  _beginthreadex: [0],
  calloc: [0],
  malloc: [0],
  mbstowcs: [-1],
  EnumerateLoadedModulesW64: [0, refused],
  MiniDumpWriteDump: [0, refused],
  StackWalk64: [0, refused],
  SymCleanup: [0, 6, late],
  SymFunctionTableAccess64: [0, 487],
  SymGetModuleBase64: [0, 487],
  SymInitialize: [0, refused],
};

/** Called by the compiler's own thread library and not of one script function: failed under two of them. */
exports.threadLibrary = new Set(['CreateEventA', 'DuplicateHandle', 'GetThreadPriority', 'ResetEvent', 'SetThreadPriority',
  'TlsAlloc', 'calloc']);

const infallible = {
  // Returns nothing.
  void: `AcquireSRWLockExclusive DeleteCriticalSection EnterCriticalSection GetLocalTime GetSystemTimeAsFileTime
    GetSystemTimePreciseAsFileTime InitializeCriticalSection LeaveCriticalSection ReleaseSRWLockExclusive SetLastError
    Sleep SysFreeString _endthreadex _lock _unlock free`,
  // Looks at the thread or the process itself, or into a slot of it that is there.
  own: `GetCurrentProcess GetCurrentProcessId GetCurrentThread GetCurrentThreadId GetLastError TlsGetValue TlsSetValue
    _errno ___lc_codepage_func ___mb_cur_max_func localeconv`,
  // Computes on its arguments alone.
  pure: `VerSetConditionMask _setjmp _stricmp _wcsicmp memchr memcmp memcpy memmove memset strcmp strftime strlen towlower
    wcslen`,
  // Of the compiler's exceptions: see the answers of failing allocations.
  exceptions: `RaiseException RtlCaptureContext RtlLookupFunctionEntry RtlUnwindEx RtlVirtualUnwind __C_specific_handler
    abort longjmp _amsg_exit`,
  // Only while the module loads, or when two threads meet.
  rare: `AddVectoredExceptionHandler RemoveVectoredExceptionHandler GetModuleHandleExW VirtualProtect VirtualQuery _initterm CreateSemaphoreA ReleaseSemaphore SetEvent
    TryEnterCriticalSection WaitForSingleObject`,
  // Linked in with the compiler's library, or kept in the DbgHelp table for others. Never called: that is tested.
  unused: `FileTimeToSystemTime FormatMessageA FreeLibrary GetProcessAffinityMask GetProcessTimes GetSystemTimeAdjustment
    GetThreadTimes GetTickCount64 IsDBCSLeadByteEx IsDebuggerPresent LoadLibraryA LocalAlloc LocalFree
    OutputDebugStringA QueryPerformanceCounter QueryPerformanceFrequency SetProcessAffinityMask SetSystemTime
    SetThreadContext WaitForMultipleObjects __iob_func _aligned_free _aligned_malloc _close _localtime64 _read _strdup
    _ultoa exit fprintf fputc fputs fputwc fwprintf fwrite printf realloc signal strerror strncmp
    vfprintf SymFromAddrW SymRefreshModuleList`,
};

/** The word by the name. */
exports.infallible = Object.fromEntries(Object.entries(infallible)
  .flatMap(([word, names]) => names.split(/\s+/).map((name) => [name, word])));
