'use strict';
const assert = require('node:assert/strict');
const test = require('node:test');
const { load, loadHelper } = require('../support/windows.js');

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
