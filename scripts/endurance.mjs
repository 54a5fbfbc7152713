// npm run endurance -- [OPTIONS]: the long form of tests/endurance/endurance.js (its options stand there), a few minutes.
// Repeat a failure with the seed that it printed.
import path from 'node:path';
import { build } from './lib/build.mjs';
import { ensureTools } from './lib/setup.mjs';
import { root, runMain } from './lib/shell.mjs';
import { runScript } from './lib/windows.mjs';

await runMain(() => {
  ensureTools({ forTests: true });
  build({ tests: true });
  return runScript(['--expose-gc', path.join(root, 'tests', 'endurance', 'endurance.js'), ...process.argv.slice(2)]);
});
