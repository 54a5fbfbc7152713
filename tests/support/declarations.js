'use strict';
// The functions that tests play, as C declares them. A handle or an address is `void*` (a BigInt or null in script), or
// `size_t` where its value counts. A line that begins with "#" is a comment.
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
  # identity
  int VerifyVersionInfoW(void*, uint32, uint64)
  int RegOpenKeyExA(size_t, str, uint32, uint32, void*)
  void* CreateFileW(str16, uint32, uint32, void*, uint32, uint32, void*)
  int DeviceIoControl(void*, uint32, void*, uint32, void*, uint32, void*, void*)
  int GetVolumeInformationW(str16, void*, uint32, void*, void*, void*, void*, uint32)
  uint32 GetAdaptersInfo(void*, void*)
  int ExceptionHandler(void*)
  void* GetModuleHandleW(str16)
  void* FindResourceExW(void*, str16, str16, uint16)
  uint32 SizeofResource(void*, void*)
  void* LoadResource(void*, void*)
  void* LockResource(void*)
  void GetLocalTime(void*)
  uint32 GetModuleFileNameW(void*, void*, uint32)
  void* LoadLibraryExW(str16, void*, uint32)
  void* GetProcAddress(void*, str)
  int WinVerifyTrust(void*, void*, void*)
`;

exports.declarations = Object.fromEntries(source.split('\n').filter((line) => line.endsWith(')')).map((line) => line.trim())
  .map((line) => [line.match(/(\w+)\(/)[1], koffi.proto(line)]));
