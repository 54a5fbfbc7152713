// npm run --silent windows-node -- [--node=18|22|24|26] SCRIPT.js [ARGS]: runs a script in Node.js for Windows, prints
// the script's output and ends with its exit code. Options for Node.js itself may precede the script.
import { ensureTools, nodeVersions } from './lib/setup.mjs';
import { runMain, SetupError } from './lib/shell.mjs';
import { runScript } from './lib/windows.mjs';

const usage = `Usage:
  npm run --silent windows-node -- [--node=${nodeVersions.join('|')}] SCRIPT.js [ARGS]
  npm --prefix CHECKOUT run --silent windows-node -- SCRIPT.js    (from any other folder)
Write --node=... after the "--": before it, npm takes the option for its own.`;

await runMain(() => {
  const args = process.argv.slice(2);
  const option = /^--node($|=)/.test(args[0]) ? args.shift() : undefined;
  const version = option?.slice('--node='.length);
  const keptByNpm = process.env.npm_config_node !== undefined;
  if (args.length === 0 || keptByNpm || (option && !nodeVersions.includes(version))) throw new SetupError(usage);
  ensureTools();
  return runScript(args, version);
});
