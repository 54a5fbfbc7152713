// Finds the function and the source line of an address in a module, from the debug information of GCC and Clang for
// MinGW-w64. Uses Debian's tools.
import { existsSync } from 'node:fs';
import path from 'node:path';
import { run } from './shell.mjs';

const tool = (name) => `x86_64-w64-mingw32-${name}`;

/** The file with a module's debug information. */
export function findDebugFile(module, folders) {
  const names = ['.debug', ''].map((ending) => `${module}${ending}`);
  return folders.flatMap((folder) => names.map((name) => path.join(folder, name))).find((file) => existsSync(file));
}

/** The address for which the linker made the module: addresses in debug information count from there. */
function imageBase(file) {
  return BigInt(`0x${run(tool('objdump'), ['-p', file]).match(/^ImageBase\s+([0-9a-f]+)/m)[1]}`);
}

/**
 * Returns an array: "function at file:line", then the functions that it was inlined into, innermost first. Empty if
 * nothing is known. Functions in headers of the compiler are left out if functions of the project remain.
 */
export function describeAddress(file, offset) {
  const address = `0x${(imageBase(file) + offset).toString(16)}`;
  // cmake/Reproducible.cmake names the project's folder.
  const said = run(tool('addr2line'), ['-e', file, '-f', '-C', '-i', '-p', address]).replaceAll('/borvanta-util/', '');
  const functions = said.trim().split('\n').filter((line) => !line.startsWith('??'))
    .map((line) => line.trim().replace(/^\(inlined by\) /, ''));
  const own = functions.filter((line) => !line.includes(' at /'));
  return own.length > 0 ? own : functions.slice(0, 1);
}
