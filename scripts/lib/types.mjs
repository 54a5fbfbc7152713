import { spawnSync } from 'node:child_process';
import { root } from './shell.mjs';

/** Checks the package's types, and the scripts in tests/package/ that use them, with the TypeScript compiler. */
export function checkTypes() {
  const result = spawnSync(process.execPath, ['node_modules/typescript/bin/tsc', '-p', 'tests/package/tsconfig.json'],
    { cwd: root, encoding: 'utf8' });
  return result.status === 0 ? { passed: 1, failed: 0 } : { passed: 0, failed: 1, output: result.stdout + result.stderr };
}
