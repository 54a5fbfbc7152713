// What the tests in the build machine's Node.js share: a temporary folder, and programs that run in it.
import { spawnSync } from 'node:child_process';
import { mkdtempSync, rmSync } from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import test from 'node:test';
import { fileURLToPath } from 'node:url';

export const root = fileURLToPath(new URL('../..', import.meta.url));
export const folder = mkdtempSync(path.join(os.tmpdir(), 'borvanta-host-'));
test.after(() => rmSync(folder, { recursive: true, force: true }));

/** Runs a program in the folder. Returns its `status`, `stdout` and `stderr`. */
export const tryRun = (program, ...args) => spawnSync(program, args,
  { cwd: folder, encoding: 'utf8', env: { ...process.env, INIT_CWD: folder } });

/** Runs a program in the folder and returns its stdout; throws the result of tryRun if it fails. */
export const run = (...command) => {
  const result = tryRun(...command);
  if (result.status === 0) return result.stdout;
  throw Object.assign(new Error(`${command.join(' ')} failed: ${result.stderr}`), result);
};

/** The arguments that run a script of scripts/ in this Node.js. */
export const script = (name) => [process.execPath, path.join(root, 'scripts', name)];
