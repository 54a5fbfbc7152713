'use strict';
const assert = require('node:assert/strict');
const { execFileSync } = require('node:child_process');
const test = require('node:test');
const { load } = require('../support/windows.js');

test('names the volume as an independent client does, and always the same', () => {
  const util = load();
  const id = util.getGuid();
  const volume = execFileSync('cmd', ['/c', 'vol', 'c:'], { encoding: 'latin1' }).match(/([0-9A-F]{4})-([0-9A-F]{4})/i);
  const [, named] = id.match(/^C_(?:0|[0-9A-F]{24})-D_[-0-9=A-Z_a-z]*-M_[0-9A-F]*-V_([0-9A-F]*)$/);
  assert.equal(named, `${volume[1]}${volume[2]}`.toUpperCase());
  for (let i = 0; i < 100; ++i) assert.equal(util.getGuid(), id);
});
