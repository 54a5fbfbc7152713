// npm start: from nothing to a short tour of the module in Node.js for Windows.
import path from 'node:path';
import { build } from './lib/build.mjs';
import { ensureTools } from './lib/setup.mjs';
import { readArguments, root, runMain } from './lib/shell.mjs';
import { runScript } from './lib/windows.mjs';

await runMain(async () => {
  readArguments('npm start');
  ensureTools();
  await build();
  return runScript([path.join(root, 'examples', 'tour.js')]);
});
