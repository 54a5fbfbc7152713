// npm run build: leaves the module at prebuilds/win32-x64/borvanta-util.node, its debug information beside it.
import { build } from './lib/build.mjs';
import { ensureTools } from './lib/setup.mjs';
import { runMain, say } from './lib/shell.mjs';

await runMain(() => {
  ensureTools();
  build();
  say('Built prebuilds/win32-x64/borvanta-util.node');
});
