'use strict';
const assert = require('node:assert/strict');
const path = require('node:path');
const test = require('node:test');
const { buildFolder, call, load } = require('../support/windows.js');
const { captureArgs, startStallTarget } = require('../support/stall_target.js');

const util = load();
const tableUser = require(path.join(buildFolder, 'helpers', 'table-user.node'));

test('another native module finds the table in the loaded file and uses it', () => {
  assert.deepEqual(tableUser.useTable(), { samePointer: true, fieldsSet: 11, findsModule: true });
});

test('a capture waits for other native code that holds the lock', async () => {
  const target = await startStallTarget('chain');
  try {
    // Longer than a capture takes that nobody holds up.
    tableUser.holdLock(2000);
    const result = await call(util.captureNativeJank, captureArgs(target));
    assert.equal(tableUser.isHeld(), false);
    assert.ok(result.captureStackResult.stackTrace);
  } finally {
    target.child.kill();
  }
});
