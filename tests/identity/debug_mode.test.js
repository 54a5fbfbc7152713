'use strict';
const assert = require('node:assert/strict');
const { execFile } = require('node:child_process');
const fs = require('node:fs');
const path = require('node:path');
const test = require('node:test');
const { promisify } = require('node:util');
const { load, runScript } = require('../support/windows.js');

// Made by scripts/lib/debug_mode_files.mjs.
const folder = path.resolve(__dirname, '..', '..', 'build', 'debug_mode');
const skip = !fs.existsSync(path.join(folder, 'stamp')) &&
  'the signed files are made on Linux, where the signing tool is and the throw-away certificate is trusted';

/** What a fresh process answers, asked twice, about the module file in a variant's folder. */
async function answers(variant, file = 'borvanta-util.node') {
  const [result] = await runScript('print([util.isDebugMode(), util.isDebugMode()]);',
    { module: path.join(folder, variant, file) });
  return result;
}

/**
 * What the identity tests' program of a variant prints when it runs as a host itself (HostDebugMode in
 * debug_mode_test.cc).
 */
async function hostLines(variant, milliseconds = 0) {
  const program = path.join(folder, variant, 'identity_tests.exe');
  const { stdout } = await promisify(execFile)(program, ['--child=HostDebugMode', String(milliseconds)]);
  return stdout.trim().split(/\r?\n/);
}

test('a release build is not in debug mode', () => {
  assert.equal(load().isDebugMode(), false);
});

test('a signed debug build is, inside its period', { skip }, async () => {
  assert.deepEqual(await answers('inside'), [true, true]);
  assert.deepEqual(await answers('over'), [false, false]);
});

test('a debug build that is not as it was signed is not', { skip }, async () => {
  assert.deepEqual(await Promise.all([answers('unsigned'), answers('tampered')]), [[false, false], [false, false]]);
});

test('under another file name the host executable decides', { skip }, async () => {
  assert.deepEqual(await answers('other-name', 'other.node'), [false, false]);
  assert.equal((await hostLines('host-inside'))[0], 'true true');
});

test('the local clock decides, to the millisecond, and the decision stands until it is released', { skip }, async () => {
  assert.deepEqual(await hostLines('host-inside', 500), ['true true', 'true', '1 false']);
  assert.deepEqual(await hostLines('host-inside', 501), ['false false', 'false', '0 false']);
});

test('a period has 1 to 18 bytes, whatever they are', { skip }, async () => {
  assert.equal((await hostLines('host-longest'))[0], 'true true');
  assert.equal((await hostLines('host-no-digits'))[0], 'true true');
  assert.equal((await hostLines('host-too-long'))[0], 'false false');
  assert.equal((await hostLines('host-empty'))[0], 'false false');
});
