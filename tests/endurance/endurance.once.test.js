'use strict';
// A short form of "npm run endurance".
const assert = require('node:assert/strict');
const { spawnSync } = require('node:child_process');
const path = require('node:path');
const test = require('node:test');

test('a short life without a missing callback, a leak or a crash', () => {
  const script = path.join(__dirname, 'endurance.js');
  const { status, stdout, stderr } = spawnSync(process.execPath,
    ['--expose-gc', script, '--calls=5000', '--captures=40', '--workers=10'], { encoding: 'utf8', timeout: 120_000 });
  console.log(stdout);
  assert.equal(status, 0, `${stdout}${stderr}`);
  assert.match(stdout, /nothing has grown/);
});
