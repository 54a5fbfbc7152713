'use strict';
// What the module does on a machine with GPU counters.
const assert = require('node:assert/strict');
const test = require('node:test');
const { Worker } = require('node:worker_threads');
const { calls, init, pdh, sample, until, util } = require('./machine_with_counters.js');
const { modulePath } = require('../support/windows.js');

const open = ['PdhOpenQueryW', 'PdhAddCounterW', 'PdhCollectQueryData'];
const close = ['PdhRemoveCounter', 'PdhCloseQuery'];
const size = 'PdhGetFormattedCounterArrayW(size)';
const read = ['PdhCollectQueryData', size, 'PdhGetFormattedCounterArrayW'];

const invalidData = 0xC0000BC6;

/** Nothing was called wrongly, and of all handles just the two are open that stay open. */
function assertClean() {
  const { faults, queries, counters } = pdh.report();
  assert.deepEqual({ faults, queries, counters }, { faults: [], queries: 1, counters: 1 });
}

/** How often a query was closed: by every initGpuUsage that found one open. */
const closings = () => pdh.report().calls.filter((name) => name === 'PdhCloseQuery').length;

/** Resolves when `count` queries have been closed and the last one is followed by a new one, open and primed. */
const opened = (count) => until(() => {
  const last = pdh.report().calls.at(-1);
  return closings() >= count && (last === open.at(-1) || last === read.at(-1));
});

test('opens with the first sample, reads with the next, and starts over when told', async () => {
  pdh.serve([['pid_1234_luid_0x00000000_0x0000A1B2_phys_0_eng_0_engtype_3D', 12.5]]);
  assert.deepEqual([await sample(1234, 5678), calls()], [{}, open]);
  assert.deepEqual([await sample(1234, 5678), calls()], [{ nativeProc3d: 12.5, sys3d: 12.5, has3d: true }, read]);
  assert.deepEqual([await init(), calls()], [undefined, [...close, ...open]]);
  assert.deepEqual([await sample(5678, 1234), calls()], [{ gpuProc3d: 12.5, sys3d: 12.5, has3d: true }, read]);
  assertClean();
});

test('delivers what was seen, in order, and leaves out zeros and kinds that were not', async () => {
  pdh.serve([['pid_12_engtype_Video Codec', 1], ['pid_34_engtype_Video Codec', 2, invalidData],
    ['pid_34_engtype_VideoDecode', 150], ['pid_7_engtype_VideoDecode', -0.25], ['pid_12_engtype_VideoEncode', NaN],
    ['pid_12_engtype_3D', 0], ['pid_34_engtype_3D', -0], ['pid_12_engtype_Copy', 9]]);
  assert.deepEqual(Object.entries(await sample(12.9, 34)), [
    ['has3d', true],
    ['nativeProcEnc', NaN], ['sysEnc', NaN], ['hasEnc', true],
    ['gpuProcDec', 150], ['sysDec', 149.75], ['hasDec', true],
    ['gpuProcCod', 2], ['nativeProcCod', 1], ['sysCod', 3], ['hasCod', true],
  ]);
  pdh.serve([['pid_-5_engtype_VideoEncode', 3], ['pid_0_engtype_VideoEncode', 4]]);
  assert.deepEqual(await sample(2 ** 32 - 5, NaN), { gpuProcEnc: 4, nativeProcEnc: 3, sysEnc: 7, hasEnc: true });
  assert.deepEqual(await sample(-5, -5), { gpuProcEnc: 3, nativeProcEnc: 3, sysEnc: 7, hasEnc: true });
});

test('a failed collection leaves the values of the last one, and too few collections give none', async () => {
  const one = { nativeProc3d: 1, sys3d: 1, has3d: true };
  pdh.serve([['pid_12_engtype_3D', 1]]);
  await sample(12, 34);
  pdh.refuse('PdhCollectQueryData', invalidData);
  assert.deepEqual(await sample(12, 34), one);
  await init();
  assert.deepEqual(await sample(12, 34), {}, 'never collected');
  pdh.refuse();
  assert.deepEqual(await sample(12, 34), {}, 'collected once');
  assert.deepEqual(await sample(12, 34), one);

  // Whether a handle came tells success, not the status.
  pdh.refuse('PdhAddCounterW', 0);
  await init('PdhAddCounterW');
  assert.deepEqual([await sample(12, 34), calls().at(-1)], [{}, 'PdhAddCounterW']);
  pdh.refuse();
  assert.deepEqual(await sample(12, 34), {}, 'opens what was missing');
  pdh.serve([]);
  assert.deepEqual(await sample(12, 34), {}, 'no instances');
  assertClean();
});

test('overlapping calls never meet in PDH, use no closed handle and call back once each', async () => {
  const before = closings();
  const callbacks = Array(50).fill(0);
  for (let index = 0; index < 50; ++index) {
    util.getGpuUsage(12, 34, () => { ++callbacks[index]; });
    util.initGpuUsage();
  }
  await opened(before + 50);
  // The last call of all may still be on its way to script.
  await new Promise((resolve) => { setTimeout(resolve, 200); });
  assert.deepEqual(callbacks, Array(50).fill(1));
  assertClean();
});

test('all script environments of a process share one query, which outlives them', async () => {
  await init();
  calls();
  const worker = new Worker(`require(${JSON.stringify(modulePath)}).getGpuUsage(12, 34, (usage) => {
    require('node:worker_threads').parentPort.postMessage(usage);
  });`, { eval: true });
  pdh.serve([['pid_12_engtype_3D', 1]]);
  const usage = await new Promise((resolve) => { worker.on('message', resolve); });
  await new Promise((resolve) => { worker.on('exit', resolve); });
  assert.deepEqual(usage, { nativeProc3d: 1, sys3d: 1, has3d: true });
  assert.deepEqual(await sample(12, 34), usage);
  assert.deepEqual(calls(), [...read, ...read]);
  assertClean();
});
