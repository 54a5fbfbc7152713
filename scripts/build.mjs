// npm run build: builds prebuilds/win32-x64/borvanta-util.node. The debug information goes into the same folder.
import { build } from './lib/build.mjs';
import { ensureTools } from './lib/setup.mjs';
import { readArguments, runMain, say } from './lib/shell.mjs';

await runMain(async () => {
  readArguments('npm run build');
  ensureTools();
  await build();
  say('Built prebuilds/win32-x64/borvanta-util.node');
});
