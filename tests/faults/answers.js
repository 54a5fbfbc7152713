'use strict';
// What the script functions answer when a call fails: by scenario and function (with the last error after a colon where
// that matters), either for every call or by the call's number. What is not listed answers as if nothing had failed.

const ends = exports.ends = 'the process ends';

// The compiler's thread library needs these to know a thread at all, and does not live without.
const threadLibrary = { DuplicateHandle: ends, TlsAlloc: ends, calloc: ends };
// A thread that cannot be started is an exception that the client does not get to see.
const threadStart = { GetHandleInformation: ends, _beginthreadex: ends };

const noMac = 'C_0-D_-M_-V_VOLUME';
const noVersion = 'installVersion, silentVersion, deleteFolderPath';
const badTable = 'Invalid dbghelp functions, 0 frames';
const firstFrames = { 1: 'report, dump, 0 frames', 2: 'report, dump, 1 frames', 3: 'report, dump, 2 frames' };

exports.answers = {
  getGuid: {
    ...threadLibrary,
    GetAdaptersInfo: noMac,
    GetVolumeInformationW: { 2: 'C_0-D_-M_MAC-V_' },
    GlobalAlloc: noMac,
    MultiByteToWideChar: { 1: noMac, 2: noMac },
    RegEnumKeyExW: { 1: noMac },
    RegOpenKeyExW: { 1: noMac, 2: noMac },
    RegQueryValueExW: { 1: noMac, 2: noMac },
    WideCharToMultiByte: '',
  },
  getCpuName: { RegOpenKeyExA: '', RegQueryValueExA: '' },
  getOsVersionWithReleaseId: {
    RegOpenKeyExA: '10 2009',
    RegQueryValueExA: '10 2009',
    VerifyVersionInfoW: { 2: '8.1 22H2' },
    WideCharToMultiByte: ' 22H2',
  },
  isDebugMode: {
    FindResourceExW: false,
    GetModuleFileNameW: false,
    GetModuleHandleW: false,
    GetProcAddress: false,
    LoadLibraryExW: false,
    LoadResource: false,
    LockResource: false,
    SizeofResource: false,
    SystemTimeToFileTime: false,
    WinVerifyTrust: { 1: false },
  },
  createDuplicateMutex: { 'CreateMutexA:5': true },
  'enterStartupMask after a crash': {
    RegOpenKeyExW: { 2: 'no mark', 3: 'crashed' },
    RegQueryValueExW: { 5: 'no mark', 6: 'crashed' },
    WideCharToMultiByte: 'crashed',
  },
  leaveStartupMask: {
    GetFileAttributesA: noVersion,
    RegOpenKeyExW: { 4: 'nothing', 5: noVersion, 6: 'writeRegVersion, deleteFolderPath' },
    RegQueryValueExW: {
      6: noVersion,
      7: 'writeRegVersion=\\bin\\5.165.3.4096\\borvanta.exe, installVersion, silentVersion, deleteFolderPath=\\bin',
      8: 'writeRegVersion, silentVersion, deleteFolderPath',
      9: 'writeRegVersion, installVersion, deleteFolderPath',
    },
    RegSetValueExW: noVersion,
    WideCharToMultiByte: {
      1: noVersion,
      2: noVersion,
      3: 'writeRegVersion=\\bin\\5.165.3.4096\\borvanta.exe, installVersion, silentVersion, deleteFolderPath=\\bin',
    },
  },
  removeOldVersion: {
    CoCreateInstance: 'Failed to delete key, Fail to CoInitializeEx-2147024882',
    RegOpenKeyExW: 'Failed to open key, removed',
    SysAllocStringLen: ends,
    malloc: ends,
  },
  captureNativeJank: {
    ...threadStart,
    CreateFileW: { 1: 'report, Failed to create dump file, 3 frames', 2: 'Failed to create json file, dump, 3 frames' },
    EnumerateLoadedModulesW64: 'report, dump, Failed to enum modules',
    GetProcAddress: {
      2: badTable,
      3: badTable,
      4: 'report, dump, Invalid dbghelp functions',
      5: 'report, dump, Invalid dbghelp functions',
      6: 'report, dump, Invalid dbghelp functions',
      7: 'report, dump, Invalid dbghelp functions',
      8: 'report, Invalid dbghelp functions, 3 frames',
    },
    GetThreadContext: 'report, dump, Failed to get thread context',
    LoadLibraryW: badTable,
    MiniDumpWriteDump: 'report, Failed to write dump, 3 frames',
    MultiByteToWideChar: {
      1: 'report, Failed to create dump file, 3 frames',
      2: 'report, Failed to create dump file, 3 frames',
      3: 'Failed to create json file, dump, 3 frames',
    },
    OpenProcess: 'Failed open process, 0 frames',
    OpenThread: 'Failed open thread, 0 frames',
    ResumeThread: { 2: 'Failed resume thread, report, dump, 3 frames' },
    StackWalk64: firstFrames,
    SuspendThread: 'Failed suspend thread, 0 frames',
    SymCleanup: 'Failed to cleanup dbghelp, report, dump, 3 frames',
    SymFunctionTableAccess64: firstFrames,
    SymGetModuleBase64: firstFrames,
    SymInitialize: { 1: badTable, 2: 'Failed to init dbghelp, 0 frames' },
    // The module list changed under it, and: started already. Both are overcome for this process, not for another.
    'SymInitialize:3221225476': { 2: 'Failed to init dbghelp, 0 frames' },
    'SymInitialize:87': { 2: 'Failed to init dbghelp, 0 frames' },
    VirtualAlloc: '0 frames',
    WriteFile: 'Failed to write json file, dump, 3 frames',
    malloc: ends,
    'malloc@worker': { 3: '0 frames' },
  },
  initGpuUsage: {
    ...threadStart,
    PdhAddCounterW: 'empty',
    PdhCollectQueryData: 'empty',
    PdhGetFormattedCounterArrayW: 'empty',
    PdhOpenQueryW: 'empty',
    malloc: ends,
    'malloc@worker': { 3: 'empty' },
  },
  getGpuUsage: {
    ...threadStart,
    PdhAddCounterW: 'empty, then empty',
    PdhCollectQueryData: 'empty, then empty',
    PdhGetFormattedCounterArrayW: 'empty, then empty',
    PdhOpenQueryW: 'empty, then empty',
    malloc: ends,
    'malloc@worker': { 3: 'empty, then empty' },
  },
  enumProcessList: {
    ...threadStart,
    TlsAlloc: ends,
    calloc: ends,
    CreateToolhelp32Snapshot: '0 processes',
    Process32FirstW: '0 processes',
    Process32NextW: { 1: '1 processes', 2: '2 processes', 3: '3 processes' },
    WideCharToMultiByte: { 1: 'all, number 0 unnamed', 2: 'all, number 0 unnamed', 3: 'all, number 1 unnamed' },
    malloc: ends,
    'malloc@worker': { 3: '0 processes' },
  },
};
