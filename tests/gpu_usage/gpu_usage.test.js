'use strict';
const assert = require('node:assert/strict');
const { once } = require('node:events');
const path = require('node:path');
const test = require('node:test');
const { Worker } = require('node:worker_threads');
const { buildFolder, call, load, loadHelper, modulePath, runScript } = require('../support/windows.js');

const util = load();

// Wine has no GPU counters; other machines may have some.
const skip = !process.env.WINEPREFIX;

test('calls back with an empty object where there are no GPU counters, initGpuUsage or not', { skip }, async () => {
  const sample = 'await new Promise((resolve) => util.getGpuUsage(1234, process.pid, resolve))';
  // In a process of its own, because this one gets counters below. The first sample only opens them.
  assert.deepEqual(await runScript(`print(${sample}); print(${sample});
    print(util.initGpuUsage('arguments', 'are', 'ignored') === undefined); print(${sample});`), [{}, {}, true, {}]);
});

test('refuses anything but two numbers and a function and starts nothing', () => {
  const helper = loadHelper();
  helper.recordThreadNames();
  const before = helper.threadNames().length;
  const callback = () => assert.fail('never called');
  for (const args of [[], [1234], [1234, 5678], ['1234', 5678, callback], [1234, '5678', callback], [1234, 5678, {}],
    [1234, 5678n, callback], [new Number(1), 2, callback], [undefined, 5678, callback], [callback]]) {
    assert.throws(() => util.getGpuUsage(...args), { name: 'TypeError', message: 'Invalid arg' });
  }
  assert.equal(helper.threadNames().length, before);
});

test('delivers what was seen, in order, and leaves out zeros and kinds that were not', async () => {
  const injector = require(path.join(buildFolder, 'helpers', 'fault-injector.node'));
  injector.useQuick(true);
  injector.install(modulePath, 'Pdh');
  const sample = (instances, nativePid, gpuPid) => {
    injector.serve(instances);
    return call(util.getGpuUsage, nativePid, gpuPid);
  };
  // What an environment has opened that is gone serves the others.
  await once(new Worker(`require(${JSON.stringify(modulePath)}).getGpuUsage(1, 2, () => {})`, { eval: true }), 'exit');
  assert.deepEqual(Object.entries(await sample([['pid_12_engtype_Video Codec', 1], ['pid_34_engtype_Video Codec', 2],
    ['pid_34_engtype_VideoDecode', 150], ['pid_7_engtype_VideoDecode', -0.25], ['pid_12_engtype_VideoEncode', NaN],
    ['pid_12_engtype_3D', 0], ['pid_34_engtype_3D', -0], ['pid_12_engtype_Copy', 9]], 12.9, 34)), [
    ['has3d', true], ['nativeProcEnc', NaN], ['sysEnc', NaN], ['hasEnc', true],
    ['gpuProcDec', 150], ['sysDec', 149.75], ['hasDec', true],
    ['gpuProcCod', 2], ['nativeProcCod', 1], ['sysCod', 3], ['hasCod', true],
  ]);
  const encoders = [['pid_-5_engtype_VideoEncode', 3], ['pid_0_engtype_VideoEncode', 4]];
  assert.deepEqual(await sample(encoders, 2 ** 32 - 5, NaN), { gpuProcEnc: 4, nativeProcEnc: 3, sysEnc: 7, hasEnc: true });
  assert.deepEqual(await sample(encoders, -5, -5), { gpuProcEnc: 3, nativeProcEnc: 3, sysEnc: 7, hasEnc: true });
  assert.deepEqual(await sample([], 12, 34), {}, 'no instances');
  assert.equal(injector.openPdhHandles(), 2);
});
