// npm run bench: builds the module and what it is measured against, and measures in Node.js for Windows.
import path from 'node:path';
import { buildBench } from './lib/build.mjs';
import { ensureTools } from './lib/setup.mjs';
import { root, runMain } from './lib/shell.mjs';
import { runProgram, stopLane, windowsNode } from './lib/windows.mjs';

await runMain(async () => {
  ensureTools();
  buildBench();
  const code = await runProgram(windowsNode(), [path.join(root, 'bench', 'run.js')], {
    stdout: (chunk) => process.stdout.write(chunk),
    stderr: (chunk) => process.stderr.write(chunk),
    timeoutMs: 600_000,
  });
  stopLane(0);
  return code;
});
