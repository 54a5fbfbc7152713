import { existsSync, readFileSync, rmSync } from 'node:fs';
import path from 'node:path';
import { onWindows, root, runAsync, say } from './shell.mjs';

const preset = onWindows ? 'msvc' : 'mingw';

/** The folder into which CMake builds a preset; by default the preset of the module that ships. */
export const buildFolder = (name = preset) => path.join(root, 'build', name);

/**
 * Deletes a build folder that was copied or moved with its checkout: CMake refuses to build there, because the cache
 * names the old folder.
 */
function forgetOtherFolder(name) {
  const cache = path.join(buildFolder(name), 'CMakeCache.txt');
  if (!existsSync(cache)) return;
  const folder = readFileSync(cache, 'utf8').match(/^CMAKE_CACHEFILE_DIR:INTERNAL=(.*)$/m)?.[1];
  if (folder && path.resolve(folder) === buildFolder(name)) return;
  say(`Deleting build/${name} and building it again: it was made in ${folder}`);
  rmSync(buildFolder(name), { recursive: true });
}

async function buildPreset(name, targets, before = []) {
  forgetOtherFolder(name);
  const cmake = (...args) => {
    const [command, ...rest] = [...before, 'cmake', ...args];
    return runAsync(command, rest);
  };
  await cmake('--preset', name);
  await cmake('--build', '--preset', name, ...(targets.length > 0 ? ['--target', ...targets] : []));
}

/** Builds the module into prebuilds/. With `tests`, builds also the programs that the tests need. */
export async function build({ tests = false } = {}) {
  say(tests ? 'Building the module and what its tests need' : 'Building the module');
  await buildPreset(preset, tests ? [] : ['borvanta_util', 'runtime']);
}

/** Builds with Clang, into build/clang, at a low priority, because tests run at the same time. */
export const buildWithClang = () => buildPreset('clang', [], ['nice']);

/** Builds the module and the code that `npm run bench` compares it with. */
export async function buildBench() {
  say('Building the module and the code that it is compared with');
  await buildPreset(preset, ['bench']);
}
