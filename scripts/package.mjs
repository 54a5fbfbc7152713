// npm run package: builds, and packs what a release consists of into build/packages/:
//   borvanta-util-VERSION.tgz                 the package
//   borvanta-util-VERSION-debug.tgz           the debug file of the same build
//   borvanta-util-VERSION-test-programs.tgz   what tests need, to be run with this build on another machine
//   SHA256SUMS                                checksums of the three
import { build } from './lib/build.mjs';
import { makePackages } from './lib/packages.mjs';
import { ensureTools } from './lib/setup.mjs';
import { onWindows, readArguments, runMain, say, SetupError } from './lib/shell.mjs';

await runMain(async () => {
  readArguments('npm run package');
  if (onWindows) throw new SetupError('This command runs on Debian only, where the module that ships is built.');
  ensureTools();
  await build({ tests: true });
  say(`Packed in build/packages:\n  ${makePackages().join('\n  ')}`);
});
