'use strict';
const assert = require('node:assert/strict');
const test = require('node:test');
const { call, load, loadHelper } = require('../support/windows.js');

const util = load();

// Wine has no GPU counters; other machines may have some.
const skip = !process.env.WINEPREFIX;

test('calls back with an empty object where there are no GPU counters, initGpuUsage or not', { skip }, async () => {
  assert.deepEqual(await call(util.getGpuUsage, 1234, 5678), {}, 'the first one only opens the counters');
  assert.equal(util.initGpuUsage('arguments', 'are', 'ignored'), undefined);
  assert.deepEqual(await call(util.getGpuUsage, process.pid, process.pid), {});
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
