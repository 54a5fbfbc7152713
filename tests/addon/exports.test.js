'use strict';
const assert = require('node:assert/strict');
const test = require('node:test');
const { Worker } = require('node:worker_threads');
const { load, loadHelper, modulePath } = require('../support/windows.js');

const util = load();

const names = ['getGuid', 'getCpuName', 'getOsVersionWithReleaseId', 'isDebugMode', 'createDuplicateMutex',
  'destroyDuplicateMutex', 'enterStartupMask', 'leaveStartupMask', 'removeOldVersion', 'captureNativeJank', 'initGpuUsage',
  'getGpuUsage', 'enumProcessList'];

test('exports the functions in order, nameless and as ordinary properties', () => {
  assert.deepEqual(Object.getOwnPropertyNames(util), names);
  for (const [name, { value, ...attributes }] of Object.entries(Object.getOwnPropertyDescriptors(util))) {
    assert.equal(typeof value, 'function', name);
    assert.equal(value.name, '', name);
    assert.deepEqual(attributes, { writable: true, enumerable: true, configurable: true }, name);
  }
  assert.equal(loadHelper().apiVersion(), 8);
});

test('loads in two script workers at once, and gives each functions of its own', async () => {
  util.getCpuName.mark = 'the main thread was here';
  const answers = await Promise.all([1, 2].map(() => new Promise((resolve, reject) => {
    const worker = new Worker(`const { parentPort } = require('node:worker_threads');
      const util = require(${JSON.stringify(modulePath)});
      util.enumProcessList(({ list }) => parentPort.postMessage(
        [util.getCpuName(), util.getOsVersionWithReleaseId(), list.length > 0, util.getCpuName.mark]));`, { eval: true });
    worker.on('message', resolve);
    worker.on('error', reject);
  })));
  const expected = [util.getCpuName(), util.getOsVersionWithReleaseId(), true, undefined];
  assert.deepEqual(answers, [expected, expected]);
});
