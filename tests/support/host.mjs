// What the tests in the build machine's Node.js share: a temporary folder, and programs that run in it.
import { execFileSync, spawnSync } from 'node:child_process';
import { mkdtempSync, rmSync } from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import test from 'node:test';
import { fileURLToPath } from 'node:url';

export const root = fileURLToPath(new URL('../..', import.meta.url));
export const folder = mkdtempSync(path.join(os.tmpdir(), 'borvanta-host-'));
test.after(() => rmSync(folder, { recursive: true, force: true }));
const options = { cwd: folder, encoding: 'utf8', env: { ...process.env, INIT_CWD: folder }, stdio: 'pipe' };

/** Runs a program in the folder and returns its stdout. Throws if it fails. */
export const run = (program, ...args) => execFileSync(program, args, options);

/** Like run(), but returns { status, stdout, stderr } and never throws. */
export const tryRun = (program, ...args) => spawnSync(program, args, options);

/** Runs a script of the folder scripts/. */
export const runScript = (name, ...args) => run(process.execPath, path.join(root, 'scripts', name), ...args);

/** Runs `body` in Node.js for Windows. In it, `support` has the helpers of the tests there. */
export const onWindows = (body) => runScript('windows-node.mjs', '-e',
  `const support = require(${JSON.stringify(`Z:${root}tests/support`)}); ${body}`);
