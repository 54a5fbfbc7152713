// npm run --silent symbolise -- REPORT.json [FOLDER...]: prints the stack trace of a jank report with functions and
// source lines. It knows those of the modules whose debug information is in one of the folders, by default the build's.
// Runs on Debian and reads the debug information of GCC. docs/jank-report.md says what to use for a build by MSVC.
import { existsSync, readFileSync } from 'node:fs';
import path from 'node:path';
import { buildFolder } from './lib/build.mjs';
import { onWindows, root, run, runMain, SetupError } from './lib/shell.mjs';

const tool = (name) => `x86_64-w64-mingw32-${name}`;

/** The file with a module's debug information. In Wine, module names lack their ".exe" or ".dll". */
function findDebugFile(module, folders) {
  const names = ['.debug', '', '.exe', '.dll'].map((ending) => `${module}${ending}`);
  return folders.flatMap((folder) => names.map((name) => path.join(folder, name))).find((file) => existsSync(file));
}

/** The address at which the linker placed the module: addresses in debug information start there. */
function imageBase(file) {
  return BigInt(`0x${run(tool('objdump'), ['-p', file]).match(/^ImageBase\s+([0-9a-f]+)/m)[1]}`);
}

/**
 * "function at file:line" and the functions that it was inlined into, innermost first; empty if nothing is known.
 * Headers of the compiler are left out if functions of the project remain.
 */
function describe(file, offset) {
  const address = `0x${(imageBase(file) + offset).toString(16)}`;
  const said = run(tool('addr2line'), ['-e', file, '-f', '-C', '-i', '-p', address]).replaceAll(`${root}/`, '');
  const functions = said.trim().split('\n').filter((line) => !line.startsWith('??'))
    .map((line) => line.trim().replace(/^\(inlined by\) /, ''));
  const own = functions.filter((line) => !line.includes(' at /'));
  return own.length > 0 ? own : functions.slice(0, 1);
}

/** The trace of a report. */
function readTrace(file) {
  let report;
  try {
    report = JSON.parse(readFileSync(file, 'utf8'));
  } catch (error) {
    if (error.code === 'ENOENT') throw new SetupError(`There is no file ${file}.`);
    throw new SetupError(`${file} is no jank report: ${error.message.split('\n')[0]}`);
  }
  const trace = report?.main_thread_trace;
  if (typeof trace !== 'string') throw new SetupError(`${file} is no jank report: it has no main_thread_trace.`);
  return trace;
}

await runMain(() => {
  // The tools are Debian's, and debug information of MSVC needs others.
  if (onWindows) {
    throw new SetupError('This command runs on Debian only. On Windows, use llvm-symbolizer: see docs/jank-report.md.');
  }
  const [report, ...given] = process.argv.slice(2);
  if (!report) throw new SetupError('Usage: npm run --silent symbolise -- REPORT.json [FOLDER...]');
  const fromCaller = (file) => path.resolve(process.env.INIT_CWD ?? '.', file);
  const folders = given.length > 0 ? given.map(fromCaller)
    : [path.join(root, 'prebuilds', 'win32-x64'), path.join(buildFolder, 'targets')];
  for (const [index, line] of readTrace(fromCaller(report)).split('\r\n').filter(Boolean).entries()) {
    const [, module, hex] = line.match(/^(.*)!0x([0-9a-f]+)$/) ?? [];
    const file = module && findDebugFile(module, folders);
    // Each address but the innermost is where a call returns to, which may already belong to the next source line.
    const functions = file ? describe(file, BigInt(`0x${hex}`) - (index === 0 ? 0n : 1n)) : [];
    console.log([line, functions.join('\n    inlined into ')].filter(Boolean).join('  '));
  }
});
