// npm run bench: builds the module and what it is measured against, and measures in Node.js for Windows.
import path from 'node:path';
import { buildBench } from './lib/build.mjs';
import { ensureTools } from './lib/setup.mjs';
import { root, runMain } from './lib/shell.mjs';
import { runScript } from './lib/windows.mjs';

await runMain(() => {
  ensureTools();
  buildBench();
  return runScript([path.join(root, 'bench', 'run.js')]);
});
