'use strict';
const { spawn } = require('node:child_process');
const { assert, call, fs, koffi, load, memoryAt, path, scriptedSystem, temporaryFolder, test } = require('../support');

test('lists the processes of the machine with their ids and names', async (t) => {
  const name = 'прямой эфир 直播 😀.exe';
  const program = path.join(temporaryFolder(t), name);
  fs.copyFileSync(path.join(process.env.SystemRoot, 'system32', 'cmd.exe'), program);
  const child = spawn(program, ['/k'], { stdio: ['pipe', 'ignore', 'ignore'] });
  const { list } = await call(load().enumProcessList);
  child.kill();
  const nameOf = (wanted) => list.filter(({ pid }) => pid === wanted).map((entry) => entry.name);
  assert.deepEqual([nameOf(process.pid), nameOf(child.pid)], [[path.basename(process.execPath)], [name]]);
});

test('lists every entry of the snapshot in its order, and nothing if the snapshot or memory fails', async (t) => {
  const system = scriptedSystem(t);
  let left = [];
  const give = (real, snapshot, address) => {
    if (left.length === 0) return 0;
    const [pid, name] = left.shift();
    if (name === 'memory runs out') system.fail('malloc', { nth: 1 });
    const entry = memoryAt(koffi.address(address), 568);
    assert.equal(entry.readUInt32LE(0), 568);
    entry.writeUInt32LE(pid, 8);
    entry.write(`${name}\0`, 44, 'utf16le');
    return 1;
  };
  system.playAll({ Process32FirstW: give, Process32NextW: give });
  const list = async (...entries) => {
    left = entries;
    return (await call(system.util.enumProcessList)).list.map(Object.entries).join();
  };
  assert.equal(await list([0, '[System Process]'], [4294967295, 'a.exe'], [8, 'a.exe'], [12, '\ud800'], [4, ''],
    [9, 'x'.repeat(259)]), `pid,0,name,[System Process],pid,4294967295,name,a.exe,pid,8,name,a.exe,pid,12,name,\ufffd,`
    + `pid,4,name,,pid,9,name,${'x'.repeat(259)}`);
  assert.equal(await list([1, 'a.exe'], [2, 'memory runs out'], [3, 'b.exe']), '');
  assert.equal(await list(), '');
  system.fail('CreateToolhelp32Snapshot', { value: -1 });
  assert.equal(await list([1, 'a.exe']), '');
});

test('a callback that is no function is refused', () => {
  for (const args of [[], [undefined], [null], [5], ['f'], [{}], [[() => {}]]]) {
    assert.throws(() => load().enumProcessList(...args), { name: 'TypeError', message: 'Invalid arg' });
  }
});
