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
  // addon, gpu_usage and process_list
  void* GetProcAddress(void*, str)
  void RaiseException(uint32, uint32, uint32, void*)
  int SetThreadDescription(void*, str16)
  int PdhOpenQueryW(void*, size_t, void*)
  int PdhAddCounterW(void*, str16, size_t, void*)
  int PdhCollectQueryData(void*)
  int PdhGetFormattedCounterArrayW(void*, uint32, void*, void*, void*)
  int PdhRemoveCounter(void*)
  int PdhCloseQuery(void*)
  void* CreateToolhelp32Snapshot(uint32, uint32)
  int Process32FirstW(void*, void*)
  int Process32NextW(void*, void*)
`;

exports.declarations = Object.fromEntries(source.split('\n').map((line) => line.trim())
  .filter((line) => line && !line.startsWith('//')).map((line) => [line.match(/(\w+)\(/)[1], koffi.proto(line)]));
