'use strict';
// The machine on which calls fail. Every script function finds something to do there: the client is installed, the
// module is a build with a debug period, a thread has stalled, and the graphics processor is busy.
const {
  call, captureArgs, koffi, memoryAt, openHandles, RegistryKey, scriptedSystem, until, windows,
} = require('../support');

/**
 * What the tests do while calls fail. Each scenario returns its answer. A copy of the module does the work of 'machine
 * facts' only once and keeps the answer.
 */
const scenarios = exports.scenarios = {
  // All functions that no other scenario calls.
  'machine facts': (util) => Object.keys(util).filter((name) => !/Mutex|Mask|Version$|Jank|Gpu|List/.test(name))
    .map((name) => util[name]()),
  'single instance': (util) => [util.createDuplicateMutex(), util.destroyDuplicateMutex()],
  'start-up marks': (util) => [util.leaveStartupMask(), util.enterStartupMask(), util.enterStartupMask()],
  removeOldVersion: (util) => util.removeOldVersion('C:\\old.exe', '1'),
  captureNativeJank: (util, target) => call(util.captureNativeJank, captureArgs(target))
    .then((result) => ({ ...result, jsonFilename: typeof result.jsonFilename })),
  initGpuUsage: (util) => util.initGpuUsage(),
  // The first call opens the counter if it is not open.
  getGpuUsage: (util) => call(util.getGpuUsage, 12, 34).then(() => call(util.getGpuUsage, 12, 34)),
  enumProcessList: async (util) => (await call(util.enumProcessList)).list.find(({ pid }) => pid === process.pid),
};

const text = koffi.alloc('char16', 20);
koffi.encode(text, 'char16', 'pid_12_engtype_3D\0', 18);
const one = () => 1;

/** Replacements for what the machine lacks, and for what would take long. */
const played = {
  // The module reads these bytes as a debug period that has not ended.
  FindResourceExW: () => 1n, SizeofResource: () => 18, LoadResource: () => 1n, LockResource: () => text,
  WinVerifyTrust: () => 0,
  GetFileAttributesA: () => 0x20,
  SymInitialize: one, SymCleanup: one, EnumerateLoadedModulesW64: one, StackWalk64: () => 0, MiniDumpWriteDump: one,
  PdhAddCounterW: (real, query, name, data, counter) => { koffi.encode(counter, 'size_t', 1); return 0; },
  PdhRemoveCounter: () => 0,
  PdhGetFormattedCounterArrayW: (real, counter, format, size, count, items) => {
    koffi.encode(size, 'uint32', 24);
    koffi.encode(count, 'uint32', 1);
    if (!items) return 0x800007D2 | 0; // PDH_MORE_DATA
    koffi.encode(items, 'void*', text);
    memoryAt(koffi.address(items), 24).writeDoubleLE(1, 16);
    return 0;
  },
};

// Functions that are never made to fail: the C library only computes, and some functions of Windows cannot fail.
const cannotFail = /^([_a-z]|[GS]et(Current|Last)|Get.*Time|Tls[GS]|Rtl|Raise|VerSet|Sleep|Query|SysFree)|Lock|Section/;
// Functions that return -1 or an error code when they fail. All others return 0.
const minusOne = /^(CreateFile|CreateTool|GetFileAttr|SuspendThread|ResumeThread|WaitFor)/;
const errorCode = /^(Reg|Pdh|CoCreate|GetAdapters|WinVerify|SetThreadDesc|GlobalFree)/;
// Functions that release something. They release it before they report a failure, because nobody could do so later.
const givesBack = /Close|Free|Remove|Resume|Cleanup|SetEvent|WinVerify/;

/** Functions that release something, each with the functions that acquire it. A worker starts suspended. */
const pairs = [['free', 'malloc', 'calloc'], ['SysFreeString', 'SysAllocStringLen'], ['GlobalFree', 'GlobalAlloc'],
  ['ResumeThread', 'SuspendThread', '_beginthreadex'], ['LeaveCriticalSection', 'EnterCriticalSection'],
  ['ReleaseSRWLockExclusive', 'AcquireSRWLockExclusive'], ['SymCleanup', 'SymInitialize'],
  ['PdhCloseQuery', 'PdhOpenQueryW'], ['PdhRemoveCounter', 'PdhAddCounterW']];

/** A fresh copy of the module. All its system calls go through stubs. */
exports.Machine = class Machine {
  constructor(t, target) {
    const client = new RegistryKey('SOFTWARE\\Borvanta', 32);
    client.set('', 'D:\\Apps');
    t.after(() => client.remove());
    this.target = target;
    this.system = scriptedSystem(t);
    this.system.stubAll(played);
    this.system.util.leaveStartupMask(); // Makes the compiler's library allocate what it keeps for this thread.
    windows('ole32', 'int CoInitializeEx(void*, uint32)')(null, 2);
    // An unhandled exception then calls abort(), instead of starting a debugger.
    windows('kernel32', 'void* SetUnhandledExceptionFilter(void*)')(this.system.real.get('abort'));
  }

  /**
   * Runs a scenario until its workers have ended. Meanwhile the nth call of some functions fails: { NAME: nth }.
   * Resolves to the scenario's answer and to `calls`: how often each function that can fail was called.
   */
  async run(name, failing = {}) {
    const { system } = this;
    const before = system.counts;
    for (const [called, nth] of Object.entries(failing)) {
      const value = minusOne.test(called) ? -1 : errorCode.test(called) ? -2147467259 /* E_FAIL */ : 0;
      system.fail(called, { nth, value, late: givesBack.test(called) });
    }
    const answer = await scenarios[name](system.util, this.target);
    await until(() => system.count('_beginthreadex') <= system.count('_endthreadex'), 'the end of the threads');
    for (const called of Object.keys(failing)) system.restore(called);
    const calls = Object.entries(system.counts).map(([called, count]) => [called, count - (before[called] ?? 0)]);
    return { answer, calls: calls.filter(([called, count]) => count > 0 && !cannotFail.test(called)) };
  }

  /** How much has not been released yet, by the name of the function that releases it. */
  get held() {
    const { counts } = this.system;
    const sum = (names) => names.reduce((total, name) => total + (counts[name] ?? 0), 0);
    return Object.fromEntries([['CloseHandle or RegCloseKey', openHandles()],
      ...pairs.map(([last, ...others]) => [last, sum(others) - sum([last])])]);
  }
};
