// npm run format: formats the C++ files.
import { ensureTools } from './lib/setup.mjs';
import { onWindows, readArguments, runMain, SetupError } from './lib/shell.mjs';
import { format } from './lib/checks.mjs';

await runMain(() => {
  readArguments('npm run format');
  if (onWindows) throw new SetupError('This command runs on Debian only.');
  ensureTools({ forTests: true });
  format();
});
