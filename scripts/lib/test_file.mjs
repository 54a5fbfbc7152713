// Runs one test file and counts its tests.
import { mkdtempSync, rmSync } from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import { buildFolder } from './build.mjs';
import { describeAddress, findDebugFile } from './debug_info.mjs';
import { root, say } from './shell.mjs';
import { runProgram } from './windows.mjs';

const timeout = 300_000;

/** Adds the function and source line to each trap that tests/support/trap_report.cc has reported in the output. */
function nameTraps(output) {
  const folders = ['module', 'targets'].map((name) => path.join(buildFolder('clang'), name));
  return output.replace(/^TRAP in (\S+) at 0x([0-9a-f]+)/gm, (line, module, hex) => {
    const file = findDebugFile(module, folders);
    return [line, ...(file ? describeAddress(file, BigInt(`0x${hex}`)) : [])].join('\n  ');
  });
}

/** A program that the test has left running may still use the folder: then it stays. */
function removeFolder(folder) {
  try {
    rmSync(folder, { recursive: true, force: true, maxRetries: 5 });
  } catch (error) {
    say(`${folder} stays: ${error.message}`);
  }
}

/**
 * Runs a test file with the Node.js `program` and resolves to { passed, failed, skipped, output, seconds }. The file
 * also counts as failed if it ends without a count of its tests or with an exit code other than 0. With `pattern`, runs
 * only the tests whose names match it.
 */
export async function runTestFile(program, file, { pattern, env, cwd = root, ...options }) {
  const chunks = [];
  const collect = (chunk) => chunks.push(chunk);
  const args = ['--require', './tests/support/preload.js', '--test-reporter=tap',
    ...(pattern ? [`--test-name-pattern=${pattern}`] : []), file];
  const temp = mkdtempSync(path.join(os.tmpdir(), 'borvanta-test-'));
  const start = performance.now();
  let code;
  let seconds;
  try {
    code = await runProgram(program, args, { ...options, cwd, stdout: collect, stderr: collect, timeout,
      env: { ...env, BORVANTA_TEMP: options.host ? temp : `Z:${temp.replaceAll('/', '\\')}` } });
  } finally {
    seconds = (performance.now() - start) / 1000;
    removeFolder(temp);
  }
  const output = Buffer.concat(chunks).toString();
  const count = (what) => Number(output.match(new RegExp(`^# ${what} (\\d+)\r?$`, 'm'))?.[1] ?? 0);
  const [passed, skipped] = [count('pass'), count('skipped')];
  const ended = output.match(/^# pass \d+\r?$/m) && code === 0 && (pattern || passed + skipped > 0);
  const failed = count('fail') || (ended ? 0 : 1);
  const end = seconds * 1000 < timeout ? `exit code ${code}` : `killed after ${timeout / 1000} s`;
  return { passed, failed, skipped, seconds, output: `${nameTraps(output)}\n(${end})` };
}
