'use strict';
const assert = require('node:assert/strict');
const { spawn } = require('node:child_process');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const test = require('node:test');
const { call, load, loadHelper } = require('../support/windows.js');

const util = load();

test('lists each process once, the test itself among them', async () => {
  const { list } = await call(util.enumProcessList);
  const names = new Map(list.map(({ pid, name }) => [pid, name]));
  assert.equal(names.size, list.length);
  assert.equal(names.get(process.pid), path.basename(process.execPath));
  assert.ok(list.length > 3);
  for (const entry of list) assert.deepEqual(Object.keys(entry), ['pid', 'name']);
});

test('gives a name outside ASCII and the basic plane as it is', async () => {
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'borvanta-'));
  const name = 'прямой эфир 直播 😀.exe';
  fs.copyFileSync(path.join(process.env.SystemRoot, 'system32', 'cmd.exe'), path.join(folder, name));
  const child = spawn(path.join(folder, name), ['/k'], { stdio: ['pipe', 'ignore', 'ignore'] });
  try {
    const { list } = await call(util.enumProcessList);
    assert.equal(list.find(({ pid }) => pid === child.pid)?.name, name);
  } finally {
    child.kill();
    await new Promise((resolve) => { child.on('close', resolve); });
    fs.rmSync(folder, { recursive: true, force: true, maxRetries: 5 });
  }
});

test('refuses what is no function and starts nothing', async () => {
  const helper = loadHelper();
  helper.recordThreadNames();
  for (const args of [[], [undefined], [null], [5], ['f'], [{}], [[() => {}]]]) {
    assert.throws(() => util.enumProcessList(...args), { name: 'TypeError', message: 'Invalid arg' });
  }
  await call(util.enumProcessList);
  assert.deepEqual(helper.threadNames(), ['EnumProcessList'], 'the worker of the good call alone');
});
