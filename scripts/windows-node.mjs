// npm run --silent windows-node -- [--node=18|20|22] SCRIPT.js [ARGS]: runs a script in Node.js for Windows, prints what
// it prints and ends with its exit code. Options for Node.js itself may stand before the script.
import { ensureTools } from './lib/setup.mjs';
import { runMain } from './lib/shell.mjs';
import { runWindows, windowsNode } from './lib/windows.mjs';

await runMain(async () => {
  const args = process.argv.slice(2);
  const version = args[0]?.match(/^--node=(18|20|22)$/)?.[1];
  if (version) args.shift();
  ensureTools();
  return runWindows(windowsNode(version), args, {
    cwd: process.env.INIT_CWD ?? process.cwd(),
    stdout: (chunk) => process.stdout.write(chunk),
    stderr: (chunk) => process.stderr.write(chunk),
  });
});
