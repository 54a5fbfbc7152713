'use strict';
const { assert, call, koffi, memoryAt, scriptedSystem, test } = require('../support');

test('the list has all entries of the snapshot in order, and none if the snapshot or memory fails', async (t) => {
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
  assert.equal(await list([0, '[System Process]'], [4294967295, 'a.exe'], [8, 'a.exe'], [12, '直播 😀\ud800'], [4, ''],
    [9, 'x'.repeat(259)]), 'pid,0,name,[System Process],pid,4294967295,name,a.exe,pid,8,name,a.exe,'
    + `pid,12,name,直播 😀\ufffd,pid,4,name,,pid,9,name,${'x'.repeat(259)}`);
  assert.equal(await list([1, 'a.exe'], [2, 'memory runs out'], [3, 'b.exe']), '');
  assert.equal(await list(), '');
  system.fail('CreateToolhelp32Snapshot', { value: -1 });
  assert.equal(await list([1, 'a.exe']), '');
});
