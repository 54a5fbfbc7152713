'use strict';
// The functions that tests play, as C declares them. A handle or an address is `void*` (a BigInt or null in script), or
// `size_t` if a test looks at its value. Functions of the same type share a line.
const { koffi } = require('./windows_api.js');

const source = `
  int CoCreateInstance, WriteFile(void*, void*, uint32, void*, void*)
  int GetRules, RemoveRule, GetThreadContext, Process32FirstW, Process32NextW(void*, void*)
  uint32 ReleaseObject, GetFileAttributesA, GetProcessId, GetProcessIdOfThread(void*)
  uint32 GetThreadId, SuspendThread, ResumeThread(void*)
  void SysFreeString, GetSystemTimePreciseAsFileTime, GetLocalTime(void*)
  void* CreateMutexA(void*, int, str)
  int CloseHandle, RegCloseKey, SymCleanup, PdhCollectQueryData(void*)
  int PdhRemoveCounter, PdhCloseQuery, ExceptionHandler(void*)
  int MultiByteToWideChar(uint32, uint32, void*, int, void*, int)
  int WideCharToMultiByte(uint32, uint32, void*, int, void*, int, void*, void*)
  int RegOpenKeyExW(size_t, str16, uint32, uint32, void*)
  int RegCreateKeyExW(size_t, str16, uint32, void*, uint32, uint32, void*, void*, void*)
  int RegSetValueExW(void*, str16, uint32, uint32, void*, uint32)
  int RegDeleteValueW, SetThreadDescription(void*, str16)
  void* VirtualAlloc(void*, size_t, uint32, uint32)
  void* GetDbgHelpFunctions()
  int node_api_module_get_api_version_v1()
  void* LoadLibraryW, GetModuleHandleW(str16)
  void* GetProcAddress(void*, str)
  int SymInitialize(void*, void*, int)
  int StackWalk64(uint32, void*, void*, void*, void*, void*, void*, void*, void*)
  void* SymFunctionTableAccess64(void*, uint64)
  uint64 SymGetModuleBase64(void*, uint64)
  int EnumerateLoadedModulesW64, WinVerifyTrust(void*, void*, void*)
  int OnLoadedModule(str16, uint64, uint32, void*)
  int MiniDumpWriteDump(void*, uint32, void*, int, void*, void*, void*)
  void Lock, Unlock()
  void* OpenProcess, OpenThread(uint32, int, uint32)
  void* CreateFileW(str16, uint32, uint32, void*, uint32, uint32, void*)
  int PdhOpenQueryW(void*, size_t, void*)
  int PdhAddCounterW(void*, str16, size_t, void*)
  int PdhGetFormattedCounterArrayW(void*, uint32, void*, void*, void*)
  void* CreateToolhelp32Snapshot(uint32, uint32)
  int VerifyVersionInfoW(void*, uint32, uint64)
  int RegOpenKeyExA(size_t, str, uint32, uint32, void*)
  int DeviceIoControl(void*, uint32, void*, uint32, void*, uint32, void*, void*)
  int GetVolumeInformationW(str16, void*, uint32, void*, void*, void*, void*, uint32)
  uint32 GetAdaptersInfo, SizeofResource(void*, void*)
  void* FindResourceExW(void*, str16, str16, uint16)
  void* LoadResource(void*, void*)
  void* LockResource(void*)
  uint32 GetModuleFileNameW(void*, void*, uint32)
  void* LoadLibraryExW(str16, void*, uint32)
`;

exports.declarations = Object.fromEntries(source.trim().split('\n').flatMap((line) => {
  const [, result, names, parameters] = line.match(/^ *(\S+) (.*)(\(.*)$/);
  return names.split(', ').map((name) => [name, koffi.proto(`${result} ${name}${parameters}`)]);
}));
