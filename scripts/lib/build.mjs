import { existsSync, readFileSync, rmSync } from 'node:fs';
import path from 'node:path';
import { onWindows, root, runBeside, say } from './shell.mjs';

const preset = onWindows ? 'msvc' : 'mingw';

/** The folder that CMake builds a preset into, by default that of the module that ships. */
export const buildFolder = (name = preset) => path.join(root, 'build', name);

/** CMake refuses to build in a checkout that was copied or moved: its cache names the old folder. */
function forgetOtherFolder(name) {
  const cache = path.join(buildFolder(name), 'CMakeCache.txt');
  if (!existsSync(cache)) return;
  const folder = readFileSync(cache, 'utf8').match(/^CMAKE_CACHEFILE_DIR:INTERNAL=(.*)$/m)?.[1];
  if (folder && path.resolve(folder) === buildFolder(name)) return;
  say(`Building afresh: build/${name} comes from ${folder}`);
  rmSync(buildFolder(name), { recursive: true });
}

async function buildPreset(name, targets, before = []) {
  forgetOtherFolder(name);
  const cmake = (...args) => {
    const [command, ...rest] = [...before, 'cmake', ...args];
    return runBeside(command, rest);
  };
  await cmake('--preset', name);
  await cmake('--build', '--preset', name, ...(targets.length > 0 ? ['--target', ...targets] : []));
}

/** Builds the module into prebuilds/, and with `tests` what the tests need beside it. */
export async function build({ tests = false } = {}) {
  say(tests ? 'Building the module and what its tests need' : 'Building the module');
  await buildPreset(preset, tests ? [] : ['borvanta_util', 'runtime']);
}

/** Builds with Clang, into build/clang, and leaves most of the time to what runs beside. */
export async function buildWithClang() {
  await buildPreset('clang', [], ['nice']);
}

/** Builds the module and what `npm run bench` measures it against. */
export async function buildBench() {
  say('Building the module and what it is measured against');
  await buildPreset(preset, ['bench']);
}
