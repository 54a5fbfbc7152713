// npm run --silent symbolise -- REPORT.json [FOLDER...]: prints the stack trace of a jank report with functions and
// source lines, for the modules whose debug information is in one of the folders (by default the folders of the build).
// Runs on Debian. docs/jank-report.md says what to use elsewhere.
import { readFileSync } from 'node:fs';
import path from 'node:path';
import { buildFolder } from './lib/build.mjs';
import { describeAddress, findDebugFile } from './lib/debug_info.mjs';
import { onWindows, readArguments, root, runMain, SetupError } from './lib/shell.mjs';

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
  // The tools are Debian's.
  if (onWindows) {
    throw new SetupError('This command runs on Debian only. On Windows, use llvm-symbolizer: see docs/jank-report.md.');
  }
  const usage = 'npm run --silent symbolise -- REPORT.json [FOLDER...]';
  const { positionals: [report, ...given] } = readArguments(usage, { allowPositionals: true });
  if (!report) throw new SetupError(`Usage: ${usage}`);
  const fromCaller = (file) => path.resolve(process.env.INIT_CWD ?? '.', file);
  const folders = given.length > 0 ? given.map(fromCaller)
    : [path.join(root, 'prebuilds', 'win32-x64'), path.join(buildFolder(), 'targets')];
  for (const [index, line] of readTrace(fromCaller(report)).split('\r\n').filter(Boolean).entries()) {
    const [, module, hex] = line.match(/^(.*)!0x([0-9a-f]+)$/) ?? [];
    const file = module && findDebugFile(module, folders);
    // Each address but the innermost is a return address, which may already belong to the next source line.
    const functions = file ? describeAddress(file, BigInt(`0x${hex}`) - (index === 0 ? 0n : 1n)) : [];
    console.log([line, functions.join('\n    inlined into ')].filter(Boolean).join('  '));
  }
});
