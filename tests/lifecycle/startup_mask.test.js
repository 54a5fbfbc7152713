'use strict';
const { once } = require('node:events');
const { Worker } = require('node:worker_threads');
const {
  assert, fs, inTime, koffi, load, path, RegistryKey, scriptedSystem, sleep, startScript, temporaryFolder, test,
} = require('../support');

const version = '5.165.3.4096';
const markName = `esn${version}`;
const client = new RegistryKey('SOFTWARE\\Borvanta', 32);
const notes = new RegistryKey('SOFTWARE\\Borvanta\\version', 32);
const marks = new RegistryKey('SOFTWARE\\Borvanta\\mark', 32);
const day = 86_400_000n;
const now = 1_700_000_000_000n;
const read = 0x201; // KEY_QUERY_VALUE | KEY_WOW64_32KEY
const write = 0x202; // KEY_SET_VALUE | KEY_WOW64_32KEY

test.beforeEach(() => client.remove());
test.after(() => client.remove());

/** Installs the client of this version into a new folder. Returns the executable's path. */
function install(t) {
  const directory = temporaryFolder(t);
  const executable = path.join(directory, 'bin', version, 'borvanta.exe');
  fs.mkdirSync(path.dirname(executable), { recursive: true });
  fs.writeFileSync(executable, 'MZ');
  client.set('', directory);
  return executable;
}

const markTime = () => marks.get(markName)?.bytes.readBigInt64LE();
const textOf = (value) => value?.bytes.toString('utf16le');

/** A system whose clock shows `clock.now`, in milliseconds since 1970. Each reading advances it by `clock.step`. */
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
  assert.equal(new RegistryKey(marks.path).get(markName), undefined, 'the 64-bit view has no mark');
});

test('a mark counts from 1 ms until less than 60 days after it was set, and any other mark is removed', (t) => {
  const { util } = systemAt(t, { now });
  for (const set of [now - 1n, now - 60n * day + 1n]) {
    marks.set(markName, set, 3 /* the type does not matter */);
    assert.deepEqual(util.enterStartupMask(), { hasMask: true }, `${set}`);
    assert.equal(markTime(), set, 'the mark keeps its time');
  }
  for (const set of [now, now + 1n, now - 60n * day, 0n, -1n, 2n ** 63n - 1n, -(2n ** 63n)]) {
    marks.set(markName, set);
    assert.deepEqual(util.leaveStartupMask(), { deleteFolderPath: '\\bin' }, 'no install directory is recorded');
    assert.equal(marks.get(markName), undefined, `${set} is removed`);
    marks.set(markName, set);
    assert.deepEqual(util.enterStartupMask(), { hasMask: false }, `${set}`);
    assert.equal(markTime(), now, 'the current time is stored');
  }
});

test('a second start-up finds the mark at once, and the first call returns even if the clock stands still', (t) => {
  for (let round = 0; round < 50; ++round) {
    assert.deepEqual(load().enterStartupMask(), { hasMask: false }, `round ${round}`);
    assert.deepEqual(load().enterStartupMask(), { hasMask: true }, `round ${round}`);
    load().leaveStartupMask();
  }
  for (const step of [0n, -1000n]) {
    assert.deepEqual(systemAt(t, { now, step }).util.enterStartupMask(), { hasMask: false });
    client.remove();
  }
});

test('of two script workers that enter at once, only one finds no mark', async (t) => {
  const system = scriptedSystem(t);
  marks.set('other', 1n);
  system.hold('RegCloseKey');
  const source = `const util = require(${JSON.stringify(system.file)});
    require('node:worker_threads').parentPort.postMessage(util.enterStartupMask());`;
  const entries = Promise.all([1, 2].map(() => once(new Worker(source, { eval: true }), 'message')));
  await system.held('RegCloseKey');
  await sleep(300); // The first one reads marks, and the second one waits for a lock.
  system.hold('AcquireSRWLockExclusive');
  system.restore('RegCloseKey');
  await system.held('AcquireSRWLockExclusive');
  await sleep(100); // The first one has found no mark and has not set its own. The second one still waits.
  system.restore('AcquireSRWLockExclusive');
  assert.deepEqual((await inTime('two start-ups', entries)).map(([{ hasMask }]) => hasMask).sort(), [false, true]);
});

test('the first call removes stale marks that have no version, and also the key\'s default value', (t) => {
  const names = ['hwcapquery', 'esn', 'esdgs', '', 'other'];
  for (const name of names) marks.set(name, now - 60n * day);
  systemAt(t, { now }).util.leaveStartupMask();
  assert.deepEqual(names.filter((name) => marks.get(name)), ['other']);
});

test('a mark that cannot be written is not set, and a mark that was read is cached', (t) => {
  const system = systemAt(t, { now });
  for (const name of ['RegSetValueExW', 'RegCreateKeyExW']) {
    system.fail(name, { value: 5 });
    for (let turn = 0; turn < 2; ++turn) assert.deepEqual(system.util.enterStartupMask(), { hasMask: false }, name);
    assert.equal(marks.get(markName), undefined);
    system.restore(name);
  }
  marks.set(markName, now - 1n);
  assert.deepEqual(system.util.enterStartupMask(), { hasMask: true });
  system.fail('RegOpenKeyExW', { value: 5 });
  assert.deepEqual(system.util.enterStartupMask(), { hasMask: true });
});

test('each key is opened with the rights that its use needs, and is closed again', (t) => {
  const system = systemAt(t, { now });
  install(t);
  for (const key of [marks, notes]) key.set('other', '');
  system.util.leaveStartupMask(); // The first call also reads other marks, for which it opens a key.
  system.watch('RegOpenKeyExW', 'RegCreateKeyExW', 'RegCloseKey');
  const opened = (work) => {
    system.util[work]();
    const calls = system.calls.splice(0);
    const keys = calls.filter(([name]) => name !== 'RegCloseKey');
    assert.equal(calls.length, 2 * keys.length, 'each key is closed');
    return keys.map(([name, , key, ...rest]) => [key.slice(17), name === 'RegOpenKeyExW' ? rest[1] : rest[3]]);
  };
  const records = [['', read], ['', write], ['\\version', read]];
  assert.deepEqual(opened('enterStartupMask'), [['\\mark', read], ['\\mark', read], ['\\mark', write]]);
  marks.set(markName, 1n);
  assert.deepEqual(opened('leaveStartupMask'), [['\\mark', read], ['\\mark', write], ...records]);
});

test('a start-up that succeeds clears its mark, records its executable and reports the installer\'s notes', (t) => {
  const system = systemAt(t, { now });
  const executable = install(t);
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
  assert.equal(textOf(notes.get('currentinstallversion')), `${version}\0`, 'the note stays: its key is for query only');
});

test('the executable is looked for and recorded in the ANSI code page, and reported in UTF-8', (t) => {
  const system = systemAt(t, { now });
  // A system whose ANSI code page is 1251: it has Cyrillic letters, and no Chinese ones.
  for (const name of ['MultiByteToWideChar', 'WideCharToMultiByte']) {
    system.play(name, (real, codePage, ...args) => real(codePage === 0 ? 1251 : codePage, ...args));
  }
  const seen = [];
  system.play('GetFileAttributesA', (real, file) => {
    seen.push(Buffer.from(koffi.decode(file, 'uint8', 64)).toString('latin1'));
    return 0x20;
  });
  for (const [directory, pattern] of [
    ['D:\\эфир', /^D:\\\xFD\xF4\xE8\xF0\\bin\\5/], ['D:\\直播\\', /^D:\\\?\?\\\\bin\\5/],
  ]) {
    client.set('', directory);
    const executable = `${directory}\\bin\\${version}\\borvanta.exe`;
    const answer = { writeRegVersion: executable, deleteFolderPath: `${directory}\\bin` };
    assert.deepEqual(system.util.leaveStartupMask(), answer);
    assert.match(seen.pop(), pattern);
    assert.equal(textOf(client.get('LatestBootableVersion')), `${executable.replace('直播', '??')}\0`);
  }
});

test('the executable is not recorded without its file, a writable key or a readable install directory', (t) => {
  const system = systemAt(t, { now });
  const executable = install(t);
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
  system.restore('RegSetValueExW');
  assert.equal(system.util.leaveStartupMask().writeRegVersion, executable, 'a hidden directory counts as a file');

  client.set('', 'x'.repeat(1024));
  assert.deepEqual(system.util.leaveStartupMask().deleteFolderPath, '\\bin', 'too long for the buffer');
  client.set('', Buffer.from('y'.repeat(1024), 'utf16le'));
  assert.equal(system.util.leaveStartupMask().deleteFolderPath, `${'y'.repeat(1024)}\\bin`, 'no terminator');
  client.remove();
  assert.deepEqual(system.util.leaveStartupMask(), {});
});

test('notes about another version are not reported and not removed', (t) => {
  const system = systemAt(t, { now });
  client.set('', 'D:\\Apps');
  system.watch('RegDeleteValueW');
  for (const other of [`${version} `, '5.165.3.409', '5.165.3.4097', `0${version}`, '']) {
    for (const name of ['currentinstallversion', 'slientinstallversion']) notes.set(name, other);
    assert.deepEqual(system.util.leaveStartupMask(), { deleteFolderPath: 'D:\\Apps\\bin' }, other);
  }
  assert.deepEqual(system.calls, []);
});
