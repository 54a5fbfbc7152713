'use strict';
const assert = require('node:assert/strict');
const test = require('node:test');
const { modulePath, runScript } = require('../support/windows.js');

test('a script worker may be ended at any moment, in the middle of calls too', async () => {
  // Once its end has begun, Node-API refuses all that a handler still tries, throwing a script error among it.
  const body = `
    const { Worker } = require('node:worker_threads');
    const source = 'const util = require(${JSON.stringify(JSON.stringify(modulePath)).slice(1, -1)});'
      + 'for (;;) { try { util.enumProcessList(); } catch {} try { util.removeOldVersion(1, 2); } catch {} }';
    for (let round = 0; round < 8; ++round) {
      await Promise.all([1, 2, 3].map(async () => {
        const worker = new Worker(source, { eval: true });
        await new Promise((resolve) => { worker.on('online', resolve); });
        await new Promise((resolve) => { setTimeout(resolve, 30 + 10 * round); });
        await worker.terminate();
      }));
    }
    print('lives');`;
  assert.deepEqual(await runScript(body), ['lives']);
});
