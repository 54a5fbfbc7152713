'use strict';
// A short form of "npm run hostile".
const { spawnSync } = require('node:child_process');
const { assert, buildFolder, longestWait, path, test } = require('../support');

const skip = path.basename(buildFolder) !== 'clang' && 'only for the build with traps';

test('random answers of disks and counters are read without a fault', { skip }, () => {
  const seed = String(Date.now() % 2 ** 31);
  console.log(`seed ${seed}`);
  const { error, status, stderr } = spawnSync(path.join(buildFolder, 'targets', 'hostile_answers.exe'),
    ['1000000', seed], { encoding: 'utf8', timeout: longestWait });
  assert.equal(status, 0, `with seed ${seed}: ${error ?? stderr}`);
});
