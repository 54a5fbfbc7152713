'use strict';
const assert = require('node:assert/strict');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const test = require('node:test');
const { setTimeout: sleep } = require('node:timers/promises');
const { call, load, loadHelper } = require('../support/windows.js');
const { captureArgs, startStallTarget } = require('../support/stall_target.js');

const util = load();
const helper = loadHelper();
helper.recordThreadNames();

const invalid = { name: 'TypeError', message: 'Invalid arg' };

test('refuses every wrong or missing property before anything starts', async () => {
  const good = captureArgs();
  for (const [name, value] of Object.entries(good)) {
    const wrong = [undefined, null, 5, 'text', true, {}, [], () => {}, 5n, Symbol('s'), Object(value)]
      .filter((candidate) => typeof candidate !== typeof value);
    for (const candidate of wrong) {
      assert.throws(() => util.captureNativeJank({ ...good, [name]: candidate }, () => {}), invalid);
    }
    const { [name]: left, ...rest } = good;
    assert.throws(() => util.captureNativeJank(rest, () => {}), invalid, name);
  }
  for (const args of [[], [good], [good, 5], [good, {}], [undefined, () => {}], [null, () => {}], ['text', () => {}]]) {
    assert.throws(() => util.captureNativeJank(...args), invalid);
  }
  await sleep(100);
  assert.deepEqual(helper.threadNames(), []);
});

test('reads each property for its type in order, then all once more; a getter that throws is heard', async () => {
  const good = captureArgs();
  const names = Object.keys(good);
  const watch = (reads) => new Proxy(good, {
    get: (target, name) => { reads.push(name); return target[name]; },
  });
  const reads = [];
  await call(util.captureNativeJank, watch(reads));
  assert.deepEqual(reads, [...names, ...names]);

  const failing = { ...good, get userId() { throw new RangeError('mine'); } };
  assert.throws(() => util.captureNativeJank(failing, () => {}), { name: 'RangeError', message: 'mine' });

  let asked = 0;
  const changing = { ...good, get userId() { asked += 1; return asked === 1 ? 'u' : 5; } };
  assert.throws(() => util.captureNativeJank(changing, () => {}), { message: /string was expected/ });
});

test('says what failed in a complete result, and takes a function for an object of arguments', async () => {
  const args = Object.assign(() => {}, captureArgs({ processId: 0xFFFFFFF0 }));
  assert.deepEqual(await call(util.captureNativeJank, args),
    { dumpJankResult: { succ: false }, captureStackResult: {}, errorText: 'Failed open process' });
});

test('other native code finds the DbgHelp table in the module file and uses it', () => {
  assert.match(helper.useDbgHelpTable(), /^kernel32/i);
});

test('captures a stalled process from script to callback and writes exactly this report', async () => {
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'borvanta-直播 '));
  const target = await startStallTarget('chain');
  try {
    const result = await call(util.captureNativeJank, captureArgs({
      processId: target.processId + 2 ** 32, threadId: target.threadId + 0.9, janksDir: `${folder}\\`, userId: '用户 😀',
      living: false, uptime: 12, duration: -1,
    }));
    assert.deepEqual(Object.keys(result), ['jsonFilename', 'dumpJankResult', 'captureStackResult']);
    assert.deepEqual(result.dumpJankResult, { succ: true });
    assert.deepEqual(Object.keys(result.captureStackResult), ['stackTrace']);
    const { stackTrace } = result.captureStackResult;
    assert.match(stackTrace, /^([^\r\n]+!0x[0-9a-f]+\r\n)+$/);
    assert.match(stackTrace, /stall_library/);
    const dump = result.jsonFilename.replace(/-\d+\.json$/, '');
    assert.equal(result.jsonFilename, `${dump}-${target.threadId}.json`);
    assert.deepEqual(fs.readdirSync(folder).sort(), [dump, result.jsonFilename]);
    assert.equal(fs.readFileSync(path.join(folder, result.jsonFilename), 'utf8'),
      `{"device_id":"d","dmp_file":"${dump}","duration":4294967295,"jank_type":"main","living":false,"log_file":"x.log",`
      + `"main_thread_trace":${JSON.stringify(stackTrace)},"system_version":"10","uptime":12.0,"user_id":"用户 😀",`
      + '"version":"5.1"}');
  } finally {
    target.child.kill();
    fs.rmSync(folder, { recursive: true, force: true, maxRetries: 5 });
  }
});
