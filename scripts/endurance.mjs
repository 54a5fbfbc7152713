// npm run endurance -- [OPTIONS]: the long form of tests/endurance/, which describes the options. Takes a few minutes.
// To repeat a failure, give the seed that it printed.
import path from 'node:path';
import { build } from './lib/build.mjs';
import { ensureNoClient, ensureTools } from './lib/setup.mjs';
import { readArguments, root, runMain } from './lib/shell.mjs';
import { runScript } from './lib/windows.mjs';

await runMain(async () => {
  const number = { type: 'string' };
  readArguments('npm run endurance -- [--seed=N] [--calls=N] [--captures=N] [--workers=N]',
    { options: { seed: number, calls: number, captures: number, workers: number } });
  ensureNoClient();
  ensureTools({ forTests: true });
  await build({ tests: true });
  const test = path.join(root, 'tests', 'endurance', 'endurance.test.js');
  return runScript([test, '--calls=100000', '--captures=200', '--workers=100', ...process.argv.slice(2)]);
});
