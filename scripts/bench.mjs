// npm run bench -- [--chart]: builds the module and the code that it is compared with, and measures both in Node.js for
// Windows. With --chart it also draws docs/bench.svg, the chart of the documentation.
import path from 'node:path';
import { buildBench } from './lib/build.mjs';
import { ensureTools } from './lib/setup.mjs';
import { readArguments, root, runMain } from './lib/shell.mjs';
import { runScript } from './lib/windows.mjs';

await runMain(async () => {
  readArguments('npm run bench -- [--chart]', { options: { chart: { type: 'boolean' } } });
  ensureTools();
  await buildBench();
  return runScript([path.join(root, 'bench', 'run.js'), ...process.argv.slice(2)]);
});
