// npm run --silent windows-node -- [--node=18|20|22] SCRIPT.js [ARGS]: runs a script in Node.js for Windows, prints what
// it prints and ends with its exit code. Options for Node.js itself may stand before the script.
import { ensureTools, nodeVersions } from './lib/setup.mjs';
import { runMain, SetupError } from './lib/shell.mjs';
import { runScript } from './lib/windows.mjs';

await runMain(() => {
  const args = process.argv.slice(2);
  const version = args[0]?.startsWith('--node=') ? args.shift().slice('--node='.length) : undefined;
  if (args.length === 0 || (version !== undefined && !nodeVersions.includes(version))) {
    throw new SetupError(`Usage: npm run --silent windows-node -- [--node=${nodeVersions.join('|')}] SCRIPT.js [ARGS]`);
  }
  ensureTools();
  return runScript(args, version);
});
