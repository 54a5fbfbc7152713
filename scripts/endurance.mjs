// npm run endurance -- [OPTIONS]: the long form of tests/endurance/endurance.js (its options stand there), a few minutes.
// Repeat a failure with the seed that it printed.
import path from 'node:path';
import { build } from './lib/build.mjs';
import { ensureTools } from './lib/setup.mjs';
import { root, runMain } from './lib/shell.mjs';
import { runProgram, windowsNode } from './lib/windows.mjs';

await runMain(() => {
  ensureTools({ forTests: true });
  build({ tests: true });
  const script = path.join(root, 'tests', 'endurance', 'endurance.js');
  return runProgram(windowsNode(), ['--expose-gc', script, ...process.argv.slice(2)], {
    stdout: (chunk) => process.stdout.write(chunk),
    stderr: (chunk) => process.stderr.write(chunk),
  });
});
