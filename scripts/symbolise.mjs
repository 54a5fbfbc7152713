// npm run --silent symbolise -- REPORT.json [FOLDER...]: prints a jank report's stack trace with the functions and
// source lines of those modules whose debug information lies in one of the folders (else where the build leaves it).
// Runs on Debian and reads what GCC wrote. docs/jank-report.md says what to use for a build by MSVC.
import { existsSync, readFileSync } from 'node:fs';
import path from 'node:path';
import { buildFolder } from './lib/build.mjs';
import { onWindows, root, run, runMain, SetupError } from './lib/shell.mjs';

const tool = (name) => `x86_64-w64-mingw32-${name}`;

/** The file with a module's debug information. Wine names modules without their ".exe" or ".dll". */
function findDebugFile(module, folders) {
  const names = ['.debug', '', '.exe', '.dll'].map((ending) => `${module}${ending}`);
  return folders.flatMap((folder) => names.map((name) => path.join(folder, name))).find((file) => existsSync(file));
}

/** Where the linker placed the module: debug information counts from there. */
function imageBase(file) {
  return BigInt(`0x${run(tool('objdump'), ['-p', file]).match(/^ImageBase\s+([0-9a-f]+)/m)[1]}`);
}

/**
 * "function at file:line" and the functions that it was inlined into, innermost first; empty when nothing is known. The
 * compiler's own headers are left out where the project's files remain.
 */
function describe(file, offset) {
  const address = `0x${(imageBase(file) + offset).toString(16)}`;
  const said = run(tool('addr2line'), ['-e', file, '-f', '-C', '-i', '-p', address]).replaceAll(`${root}/`, '');
  const functions = said.trim().split('\n').filter((line) => !line.startsWith('??'))
    .map((line) => line.trim().replace(/^\(inlined by\) /, ''));
  const own = functions.filter((line) => !line.includes(' at /'));
  return own.length > 0 ? own : functions.slice(0, 1);
}

await runMain(() => {
  // The tools are Debian's, and what MSVC writes needs others.
  if (onWindows) throw new SetupError('This command runs on Debian; docs/jank-report.md says how to read a trace on Windows.');
  const [report, ...given] = process.argv.slice(2);
  if (!report) throw new SetupError('Usage: npm run --silent symbolise -- REPORT.json [FOLDER...]');
  const fromCaller = (file) => path.resolve(process.env.INIT_CWD ?? '.', file);
  const folders = given.length > 0 ? given.map(fromCaller)
    : [path.join(root, 'prebuilds', 'win32-x64'), path.join(buildFolder, 'targets')];
  const trace = JSON.parse(readFileSync(fromCaller(report), 'utf8')).main_thread_trace;
  for (const [index, line] of trace.split('\r\n').filter(Boolean).entries()) {
    const [, module, hex] = line.match(/^(.*)!0x([0-9a-f]+)$/);
    const file = findDebugFile(module, folders);
    // All but the innermost address are where a call returns to, which may already belong to the next source line.
    const functions = file ? describe(file, BigInt(`0x${hex}`) - (index === 0 ? 0n : 1n)) : [];
    console.log([line, functions.join('\n    inlined into ')].filter(Boolean).join('  '));
  }
});
