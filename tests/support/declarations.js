'use strict';
// The functions that tests play, as C declares them. A handle or an address is `void*` (a BigInt or null in script), or
// `size_t` where its value counts.
const { koffi } = require('./windows_api.js');

const source = `
  int CoCreateInstance(void*, void*, uint32, void*, void*)
  int GetRules(void*, void*)
  int RemoveRule(void*, void*)
  uint32 ReleaseObject(void*)
  void SysFreeString(void*)
  void* SysAllocStringLen(void*, uint32)
  void* CreateMutexA(void*, int, str)
  int CloseHandle(void*)
  void GetSystemTimePreciseAsFileTime(void*)
  uint32 GetFileAttributesA(void*)
  int MultiByteToWideChar(uint32, uint32, void*, int, void*, int)
  int WideCharToMultiByte(uint32, uint32, void*, int, void*, int, void*, void*)
  int RegOpenKeyExW(size_t, str16, uint32, uint32, void*)
  int RegCreateKeyExW(size_t, str16, uint32, void*, uint32, uint32, void*, void*, void*)
  int RegQueryValueExW(void*, str16, void*, void*, void*, void*)
  int RegSetValueExW(void*, str16, uint32, uint32, void*, uint32)
  int RegDeleteValueW(void*, str16)
  int RegCloseKey(void*)
  // failing_calls
  uint32 SuspendThread(void*)
  void* GetProcAddress(void*, str)
  void* FindResourceExW(void*, void*, void*, uint16)
  uint32 SizeofResource(void*, void*)
  void* LoadResource(void*, void*)
  void* LockResource(void*)
  int WinVerifyTrust(void*, void*, void*)
  void* VirtualAlloc(void*, size_t, uint32, uint32)
  int VirtualFree(void*, size_t, uint32)
  int SymInitialize(void*, void*, int)
  int SymCleanup(void*)
  int EnumerateLoadedModulesW64(void*, void*, void*)
  int StackWalk64(uint32, void*, void*, void*, void*, void*, void*, void*, void*)
  int MiniDumpWriteDump(void*, uint32, void*, int, void*, void*, void*)
  int PdhOpenQueryW(void*, size_t, void*)
  int PdhAddCounterW(void*, void*, size_t, void*)
  int PdhCollectQueryData(void*)
  int PdhGetFormattedCounterArrayW(void*, uint32, void*, void*, void*)
  int PdhRemoveCounter(void*)
  int PdhCloseQuery(void*)
`;

exports.declarations = Object.fromEntries(source.trim().split('\n').map((line) => line.trim())
  .filter((line) => !line.startsWith('//'))
  .map((line) => [line.match(/(\w+)\(/)[1], koffi.proto(line)]));
