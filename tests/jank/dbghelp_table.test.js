'use strict';
const assert = require('node:assert/strict');
const path = require('node:path');
const test = require('node:test');
const { buildFolder, load } = require('../support/windows.js');

test('another native module finds the table in the loaded file and uses it', () => {
  load();
  const { useTable } = require(path.join(buildFolder, 'helpers', 'table-user.node'));
  assert.deepEqual(useTable(), { samePointer: true, fieldsSet: 11, findsModule: true });
});
