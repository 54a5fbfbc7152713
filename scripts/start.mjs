// npm start: from nothing to a short tour of the module in Node.js for Windows.
import path from 'node:path';
import { build } from './lib/build.mjs';
import { ensureTools } from './lib/setup.mjs';
import { root, runMain } from './lib/shell.mjs';
import { runWindows, windowsNode } from './lib/windows.mjs';

await runMain(async () => {
  ensureTools();
  build();
  return runWindows(windowsNode(), [path.join(root, 'examples', 'tour.js')], {
    stdout: (chunk) => process.stdout.write(chunk),
    stderr: (chunk) => process.stderr.write(chunk),
  });
});
