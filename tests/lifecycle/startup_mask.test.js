'use strict';
const assert = require('node:assert/strict');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const test = require('node:test');
const { scriptedSystem } = require('../support/scripted_system.js');
const { koffi, RegistryKey } = require('../support/windows_api.js');
const { load, startScript } = require('../support/windows.js');

const version = '5.165.3.4096';
const markName = `esn${version}`;
const client = new RegistryKey('SOFTWARE\\Borvanta', 32);
const notes = new RegistryKey('SOFTWARE\\Borvanta\\version', 32);
const marks = new RegistryKey('SOFTWARE\\Borvanta\\mark', 32);
const day = 86_400_000n;
const now = 1_700_000_000_000n;
const read = 0x201; // KEY_QUERY_VALUE | KEY_WOW64_32KEY
const write = 0x202; // KEY_SET_VALUE | KEY_WOW64_32KEY

const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'borvanta-'));
test.beforeEach(() => client.remove());
test.after(() => {
  client.remove();
  fs.rmSync(folder, { recursive: true, force: true });
});

/** Installs the client of this version into a new folder whose name ends with `name`; gives the executable's path. */
function install(name = '') {
  const directory = path.join(fs.mkdtempSync(path.join(folder, 'client-')), name);
  const executable = path.join(directory, 'bin', version, 'borvanta.exe');
  fs.mkdirSync(path.dirname(executable), { recursive: true });
  fs.writeFileSync(executable, 'MZ');
  client.set('', directory);
  return executable;
}

const markTime = () => marks.get(markName)?.bytes.readBigInt64LE();
const textOf = (value) => value?.bytes.toString('utf16le');

/** A system whose clock shows `clock.now`, in milliseconds since 1970, and then goes on by `clock.step`. */
function systemAt(t, clock) {
  const system = scriptedSystem(t);
  system.play('GetSystemTimePreciseAsFileTime', (real, time) => {
    koffi.encode(time, 'uint64', clock.now * 10_000n + 9_999n + 116_444_736_000_000_000n);
    clock.now += clock.step ?? 0n;
  });
  return system;
}

test('a start-up that is killed leaves its mark for the next one', async () => {
  const crash = async () => {
    const process = startScript('print(util.enterStartupMask()); setInterval(() => {}, 1000);');
    const entry = await process.next();
    await process.kill();
    return entry;
  };
  const before = BigInt(Date.now());
  assert.deepEqual(await crash(), { hasMask: false });
  assert.equal(marks.get(markName).type, 11 /* REG_QWORD */);
  assert.ok(markTime() >= before && markTime() <= BigInt(Date.now()));
  assert.deepEqual(await crash(), { hasMask: true });
  client.set('LatestBootableVersion', 'D:\\直播 ä\\borvanta.exe');
  assert.deepEqual(Object.entries(await crash()), [['hasMask', true], ['lastVersion', 'D:\\直播 ä\\borvanta.exe']]);
  assert.equal(new RegistryKey('SOFTWARE\\Borvanta').exists, false, 'in the 64-bit view');
});

test('a mark counts from the millisecond after it was set for less than 60 days, and any other one is removed', (t) => {
  const { util } = systemAt(t, { now });
  for (const set of [now - 1n, now - 60n * day + 1n]) {
    marks.set(markName, set, 3 /* the type does not matter */);
    assert.deepEqual(util.enterStartupMask(), { hasMask: true }, `${set}`);
    assert.equal(markTime(), set, 'it keeps its time');
  }
  for (const set of [now, now + 1n, now - 60n * day, 0n, -1n, 2n ** 63n - 1n, -(2n ** 63n)]) {
    marks.set(markName, set);
    assert.deepEqual(util.leaveStartupMask(), { deleteFolderPath: '\\bin' }, 'where the directory is not recorded');
    assert.equal(marks.get(markName), undefined, `${set} is removed, and not because it was cleared`);
    marks.set(markName, set);
    assert.deepEqual(util.enterStartupMask(), { hasMask: false }, `${set}`);
    assert.equal(markTime(), now, 'the time of now is stored');
  }
});

test('a second start-up finds the mark at once, and a clock that stands still or goes back does not stop the first', (t) => {
  for (let round = 0; round < 50; ++round) {
    assert.deepEqual(load().enterStartupMask(), { hasMask: false }, `round ${round}`);
    assert.deepEqual(load().enterStartupMask(), { hasMask: true }, `round ${round}`);
    load().leaveStartupMask();
  }
  for (const step of [0n, -1000n]) {
    const system = systemAt(t, { now, step });
    const start = performance.now();
    assert.deepEqual(system.util.enterStartupMask(), { hasMask: false });
    assert.ok(performance.now() - start < 1000);
    client.remove();
  }
});

test('data that is too short for a time is its low bytes, and data that is too long is no mark', (t) => {
  const { util } = systemAt(t, { now: 1000n });
  marks.set(markName, Buffer.of(0xE7, 3), 3);
  assert.deepEqual(util.enterStartupMask(), { hasMask: true });
  marks.set(markName, Buffer.alloc(9, 1), 3);
  util.leaveStartupMask();
  assert.equal(marks.get(markName).bytes.length, 9, 'not removed');
});

test('the marks without an argument are checked when the store is made, the key\'s default value too', (t) => {
  const { util } = systemAt(t, { now });
  for (const name of ['hwcapquery', 'esn', 'esdgs', '']) marks.set(name, now - 60n * day);
  marks.set('other', now - 60n * day);
  util.leaveStartupMask();
  for (const name of ['hwcapquery', 'esn', 'esdgs', '']) assert.equal(marks.get(name), undefined, name);
  assert.ok(marks.get('other'));
});

test('a mark that was read is remembered while its key cannot be opened', (t) => {
  const system = systemAt(t, { now });
  marks.set(markName, now - 1n);
  assert.deepEqual(system.util.enterStartupMask(), { hasMask: true });
  system.fail('RegOpenKeyExW', { value: 5 });
  assert.deepEqual(system.util.enterStartupMask(), { hasMask: true });
});

test('a mark that cannot be written is not set, and the answers stay the same', (t) => {
  const system = systemAt(t, { now });
  for (const name of ['RegSetValueExW', 'RegCreateKeyExW']) {
    system.fail(name, { value: 5 });
    assert.deepEqual(system.util.enterStartupMask(), { hasMask: false });
    assert.deepEqual(system.util.enterStartupMask(), { hasMask: false }, name);
    assert.equal(marks.get(markName), undefined);
    system.mend(name);
  }
});

test('keys are opened with the view and the rights that each purpose needs, and all are closed', (t) => {
  const clock = { now };
  const system = systemAt(t, clock);
  install();
  marks.create();
  notes.create();
  system.util.leaveStartupMask(); // Makes the store, which opens keys too.
  system.watch('RegOpenKeyExW', 'RegCreateKeyExW', 'RegCloseKey');
  const opened = (work) => {
    system.calls.length = 0;
    system.util[work]();
    const keys = system.calls.filter(([name]) => name !== 'RegCloseKey');
    assert.equal(system.calls.length, 2 * keys.length, 'each is closed');
    return keys.map(([name, root, key, ...rest]) => {
      assert.equal(root & 0xFFFFFFFF, 0x80000002 | 0, 'HKEY_LOCAL_MACHINE');
      return [key.replace('SOFTWARE\\Borvanta', ''), name === 'RegOpenKeyExW' ? rest[1] : rest[3]];
    });
  };
  const entersAnew = [['\\mark', read], ['\\mark', read], ['\\mark', write]];
  const records = [['', read], ['', write], ['\\version', read]];
  assert.deepEqual(opened('enterStartupMask'), entersAnew);
  clock.now += 1n;
  assert.deepEqual(opened('enterStartupMask'), [['\\mark', read], ['', read]]);
  assert.deepEqual(opened('leaveStartupMask'), [['\\mark', read], ['\\mark', write], ...records]);
  marks.set(markName, 1n);
  assert.deepEqual(opened('leaveStartupMask'), [['\\mark', read], ['\\mark', write], ...records], 'removes an old mark');
});

test('a start-up that succeeds clears its mark, records its executable and reports the installer\'s notes', (t) => {
  const system = systemAt(t, { now });
  const executable = install();
  marks.set(markName, now - 1n);
  notes.set('currentinstallversion', version);
  notes.set('slientinstallversion', version);
  system.watch('RegDeleteValueW');
  const written = [];
  system.play('RegSetValueExW', (real, key, name, reserved, type, data, size) => {
    written.push([name, type, koffi.decode(data, 'uint8', size)]);
    return real(key, name, reserved, type, data, size);
  });
  assert.deepEqual(Object.entries(system.util.leaveStartupMask()), Object.entries({
    writeRegVersion: executable, installVersion: version, silentVersion: version,
    deleteFolderPath: path.resolve(executable, '..', '..'),
  }));
  assert.deepEqual(written, [['LatestBootableVersion', 1, Uint8Array.from(Buffer.from(`${executable}\0`, 'utf16le'))]]);
  assert.equal(marks.get(markName), undefined);
  assert.deepEqual(system.calls.map(([, , name]) => name), [markName, 'currentinstallversion', 'slientinstallversion']);
  assert.equal(textOf(notes.get('currentinstallversion')), `${version}\0`, 'the key is open for query only');
});

test('the executable is looked for and recorded in the ANSI code page, and reported in UTF-8', (t) => {
  const system = systemAt(t, { now });
  // A system whose ANSI code page is 1251: it has Cyrillic letters, and no Chinese ones.
  for (const name of ['MultiByteToWideChar', 'WideCharToMultiByte']) {
    system.play(name, (real, codePage, ...args) => real(codePage === 0 ? 1251 : codePage, ...args));
  }
  const seen = [];
  system.play('GetFileAttributesA', (real, file) => {
    const bytes = Buffer.from(koffi.decode(file, 'uint8', 200));
    seen.push(bytes.subarray(0, bytes.indexOf(0)).toString('latin1'));
    return 0x20;
  });
  client.set('', 'D:\\эфир');
  const executable = `D:\\эфир\\bin\\${version}\\borvanta.exe`;
  assert.deepEqual(system.util.leaveStartupMask(), { writeRegVersion: executable, deleteFolderPath: 'D:\\эфир\\bin' });
  assert.deepEqual(seen, [`D:\\\xFD\xF4\xE8\xF0\\bin\\${version}\\borvanta.exe`]);
  assert.equal(textOf(client.get('LatestBootableVersion')), `${executable}\0`);
  client.set('', 'D:\\直播\\');
  assert.deepEqual(system.util.leaveStartupMask(), {
    writeRegVersion: `D:\\直播\\\\bin\\${version}\\borvanta.exe`, deleteFolderPath: 'D:\\直播\\\\bin',
  });
  assert.match(seen[1], /^D:\\\?\?\\\\bin/);
});

test('without a file, a writable key or a readable directory the executable is not recorded', (t) => {
  const system = systemAt(t, { now });
  const executable = install();
  const bin = path.resolve(executable, '..', '..');
  client.set('LatestBootableVersion', 'before');
  const leaves = (answer, message) => {
    assert.deepEqual(system.util.leaveStartupMask(), answer, message);
    assert.equal(textOf(client.get('LatestBootableVersion')), 'before\0', message);
  };
  for (const attributes of [-1, 16]) {
    system.fail('GetFileAttributesA', { value: attributes });
    leaves({ deleteFolderPath: bin }, `attributes ${attributes}`);
  }
  system.fail('GetFileAttributesA', { value: 18 });
  system.fail('RegSetValueExW', { value: 5 });
  leaves({ deleteFolderPath: bin }, 'a refused write');
  system.mend('RegSetValueExW');
  assert.equal(system.util.leaveStartupMask().writeRegVersion, executable, 'a directory with a further attribute passes');

  client.set('', 'x'.repeat(1024));
  assert.deepEqual(system.util.leaveStartupMask().deleteFolderPath, '\\bin', 'too long for the buffer');
  client.set('', Buffer.from('y'.repeat(1024), 'utf16le'));
  assert.equal(system.util.leaveStartupMask().deleteFolderPath, `${'y'.repeat(1024)}\\bin`, 'filled without terminator');
  client.remove();
  assert.deepEqual(system.util.leaveStartupMask(), {});
});

test('notes about any other version are neither reported nor removed', (t) => {
  const system = systemAt(t, { now });
  client.set('', 'D:\\Apps');
  system.watch('RegDeleteValueW');
  for (const other of [`${version} `, '5.165.3.409', '5.165.3.4097', `0${version}`, '']) {
    notes.set('currentinstallversion', other);
    notes.set('slientinstallversion', other);
    assert.deepEqual(system.util.leaveStartupMask(), { deleteFolderPath: 'D:\\Apps\\bin' }, other);
  }
  assert.deepEqual(system.calls, []);
});
