// npm run hostile -- [--count=N] [--seed=N]: gives N random answers to the code that reads disks and counters
// (tests/hostile/). To repeat a failure, give the seed that it printed.
import path from 'node:path';
import { buildFolder, buildWithClang } from './lib/build.mjs';
import { ensureTools } from './lib/setup.mjs';
import { onWindows, readArguments, runMain, say, SetupError } from './lib/shell.mjs';
import { runHere } from './lib/windows.mjs';

await runMain(async () => {
  const { values: { count = '10000000', seed = String(Date.now() % 2 ** 31) } } = readArguments(
    'npm run hostile -- [--count=N] [--seed=N]', { options: { count: { type: 'string' }, seed: { type: 'string' } } });
  if (onWindows) throw new SetupError('This command runs on Debian only.');
  ensureTools({ forTests: true });
  await buildWithClang();
  say(`${count} rounds with seed ${seed}`);
  return runHere(path.join(buildFolder('clang'), 'targets', 'hostile_answers.exe'), [count, seed]);
});
