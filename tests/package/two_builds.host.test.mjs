// Builds the module again in another folder and compares it with the one that ships. That folder stays, so after the
// first time only what has changed is built again. Runs in the build machine's Node.js.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { cpSync, readFileSync, rmSync } from 'node:fs';
import path from 'node:path';
import test from 'node:test';
import { root } from '../support/host.mjs';

const again = path.join(root, 'build', 'again', 'in-another-folder');

test('two builds of a commit give the same bytes', () => {
  for (const part of ['CMakeLists.txt', 'CMakePresets.json', 'bench', 'cmake', 'src', 'tests',
    'node_modules/node-addon-api', 'node_modules/node-api-headers']) {
    cpSync(path.join(root, part), path.join(again, part), { recursive: true, preserveTimestamps: true });
  }
  // Its progress goes to stderr: the runner kills a file that prints nothing for a minute.
  const cmake = (...args) => execFileSync('nice', ['cmake', ...args], { cwd: again, stdio: ['ignore', 2, 2] });
  cmake('--preset', 'mingw');
  cmake('--build', '--preset', 'mingw', '--target', 'borvanta_util');
  const bytes = (folder, file) => readFileSync(path.join(folder, 'prebuilds', 'win32-x64', file));
  const files = ['borvanta-util.node', 'borvanta-util.node.debug'];
  const different = files.filter((file) => !bytes(root, file).equals(bytes(again, file)));
  if (different.length > 0) rmSync(again, { recursive: true });
  assert.deepEqual(different, []);
});
