import { onWindows, root, run, say } from './shell.mjs';

const preset = onWindows ? 'msvc' : 'mingw';

/** The folder that CMake builds into. */
export const buildFolder = `${root}/build/${preset}`;

/** Builds the module into prebuilds/, and with `tests` the native tests and the test platform too. */
export function build({ tests = false } = {}) {
  say(tests ? 'Building the module and its tests' : 'Building the module');
  run('cmake', ['--preset', preset]);
  run('cmake', ['--build', '--preset', preset, ...(tests ? [] : ['--target', 'borvanta_util', 'runtime'])]);
}

/** Builds the module and what `npm run bench` measures it against. */
export function buildBench() {
  say('Building the module and what it is measured against');
  run('cmake', ['--preset', preset]);
  run('cmake', ['--build', '--preset', preset, '--target', 'bench']);
}
