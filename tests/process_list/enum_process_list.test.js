'use strict';
const assert = require('node:assert/strict');
const { spawn } = require('node:child_process');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const test = require('node:test');
const { scriptedSystem } = require('../support/scripted_system.js');
const { koffi, memoryAt } = require('../support/windows_api.js');
const { call, load } = require('../support/windows.js');

test('lists the processes of the machine with their ids and names', async (t) => {
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'borvanta-'));
  const name = 'прямой эфир 直播 😀.exe';
  fs.copyFileSync(path.join(process.env.SystemRoot, 'system32', 'cmd.exe'), path.join(folder, name));
  const child = spawn(path.join(folder, name), ['/k'], { stdio: ['pipe', 'ignore', 'ignore'] });
  t.after(() => child.kill());
  const { list } = await call(load().enumProcessList);
  const names = new Map(list.map((entry) => [entry.pid, entry.name]));
  assert.equal(names.get(process.pid), path.basename(process.execPath));
  assert.equal(names.get(child.pid), name);
  assert.equal(names.size, list.length);
});

test('lists every entry of the snapshot in its order, and nothing if the snapshot or memory fails', async (t) => {
  const system = scriptedSystem(t);
  let entries = [[0, '[System Process]'], [4294967295, 'a.exe'], [8, 'a.exe'], [12, '\ud800'], [4, ''], [9, 'x'.repeat(259)]];
  let next = 0;
  const give = (real, snapshot, address) => {
    const [pid, name] = entries[next++] ?? [];
    if (pid === undefined) return 0;
    if (name === 'memory runs out') system.fail('malloc', { nth: 1 });
    const entry = memoryAt(koffi.address(address), 568);
    assert.equal(entry.readUInt32LE(0), 568);
    entry.writeUInt32LE(pid, 8);
    entry.write(`${name}\0`, 44, 'utf16le');
    return 1;
  };
  system.playAll({ Process32FirstW: give, Process32NextW: give });
  const list = async () => {
    next = 0;
    return (await call(system.util.enumProcessList)).list;
  };
  assert.deepEqual((await list()).map(Object.entries),
    entries.map(([pid, name]) => [['pid', pid], ['name', name.replace('\ud800', '\ufffd')]]));
  entries.splice(3, 0, [5, 'memory runs out']);
  assert.deepEqual(await list(), []);
  entries = [];
  assert.deepEqual(await list(), []);
  system.fail('CreateToolhelp32Snapshot', { value: -1 });
  assert.deepEqual(await list(), []);
});
