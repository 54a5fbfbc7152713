'use strict';
const { assert, koffi, memoryAt, scriptedSystem, test } = require('../support');

/** A SYSTEMTIME: year, month, day of the week, day, hour, minute, second, milliseconds. */
const now = [2024, 2, 4, 29, 23, 59, 59, 500];
/** The same moment in milliseconds since 1601. */
const moment = Date.UTC(2024, 1, 29, 23, 59, 59, 500) - Date.UTC(1601);

/** A system whose module is a signed build with this debug period. `others` replaces answers of played functions. */
function debugBuild(t, period, others) {
  const system = scriptedSystem(t);
  const data = koffi.alloc('char', 20);
  memoryAt(data, 20).write(period, 'latin1');
  const recorded = ([name, answer]) => [name, (real, ...args) => {
    system.calls.push([name, ...args]);
    return typeof answer === 'function' ? answer(...args) : answer;
  }];
  const { WinVerifyTrust, ...scripts } = Object.fromEntries(Object.entries({
    GetModuleHandleW: 1n, FindResourceExW: 2n, SizeofResource: period.length, LoadResource: 3n, LockResource: data,
    GetLocalTime: (time) => now.forEach((part, index) => memoryAt(time, 16).writeUInt16LE(part, index * 2)),
    GetModuleFileNameW: (module, path) => memoryAt(path, 520).write('C:\\a.node', 'utf16le') / 2, LoadLibraryExW: 4n,
    GetProcAddress: () => system.callback('WinVerifyTrust', WinVerifyTrust), WinVerifyTrust: 0, ...others,
  }).map(recorded));
  system.playAll(scripts);
  return system;
}

test('isDebugMode is true for a signed build within its debug period, else false; it is decided once', (t) => {
  for (const [answer, last, period, others] of [
    [true, 'WinVerifyTrust', `${moment}`], [false, 'GetLocalTime', `${moment - 1}`],
    [true, 'WinVerifyTrust', `${moment}`.padStart(18, '0')], [false, 'SizeofResource', `${moment}`.padStart(19, '0')],
    [false, 'SizeofResource', ''], [true, 'WinVerifyTrust', '/' /* -1 */], [false, 'GetLocalTime', 'z' /* 74 */],
    ...['FindResourceExW', 'LoadResource', 'LockResource', 'LoadLibraryExW', 'GetProcAddress']
      .map((name) => [false, name, '/', { [name]: null }]),
    ...[0, 260 /* cut off */].map((length) => [false, 'GetModuleFileNameW', '/', { GetModuleFileNameW: length }]),
    [false, 'WinVerifyTrust', '/', { WinVerifyTrust: 1 }],
  ]) {
    const { calls, util } = debugBuild(t, period, others);
    assert.deepEqual([util.isDebugMode(), calls.at(-1)[0]], [answer, last]);
    const steps = calls.length;
    assert.equal(util.isDebugMode(), answer);
    assert.equal(calls.length, steps);
  }
});

test('the file that has the debug period is checked offline and without a window, by System32\'s DLL', (t) => {
  for (const file of [1n, null /* The module has another name, so the host executable decides. */]) {
    const checks = [];
    const { calls, util } = debugBuild(t, '/', { GetModuleHandleW: file, WinVerifyTrust: (window, action, data) => {
      const path = koffi.decode(koffi.decode(data, 40, 'void*'), 8, 'str16');
      checks.push([path, ...[24, 28, 72, 48].map((place) => koffi.decode(data, place, 'uint32'))]);
      return checks.length - 1; // What the closing call returns does not matter.
    } });
    assert.equal(util.isDebugMode(), true);
    const args = (name) => calls.find(([called]) => called === name).slice(1);
    assert.deepEqual(args('GetModuleHandleW'), ['borvanta-util.node']);
    assert.deepEqual(args('FindResourceExW'), [file, 'DHS', '101', 1033]);
    assert.equal(args('GetModuleFileNameW')[0], file);
    assert.deepEqual(args('LoadLibraryExW'), ['wintrust.dll', null, 0x800 /* LOAD_LIBRARY_SEARCH_SYSTEM32 */]);
    // WTD_UI_NONE, WTD_REVOKE_NONE, WTD_REVOCATION_CHECK_NONE | WTD_CACHE_ONLY_URL_RETRIEVAL; verify, then close.
    assert.deepEqual(checks, [['C:\\a.node', 2, 0, 0x1010, 1], ['C:\\a.node', 2, 0, 0x1010, 2]]);
  }
});
