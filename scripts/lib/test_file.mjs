// Runs one test file and counts its tests.
import { mkdtempSync, rmSync } from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import { buildFolder } from './build.mjs';
import { describeAddress, findDebugFile } from './debug_info.mjs';
import { describeEnd, root, say } from './shell.mjs';
import { runProgram } from './windows.mjs';

// A file that prints nothing for so long, in ms, is killed. Waits in a test end before (tests/support/waiting.js).
const longestSilence = 60_000;

// V8 does its work on the script thread. Its own threads make Node.js from 23 on abort now and then at the end of a
// process, only on Windows: "Assertion failed: !(handle->flags & UV_HANDLE_CLOSING)" (nodejs/node issue 56645).
const nodeOptions = ['--single-threaded'];

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
 * also counts as failed if it ends without a count of its tests or with an exit code other than 0; `output` then says
 * how it ended and which test had started last. With `pattern`, runs only the tests whose names match it.
 */
export async function runTestFile(program, file, { pattern, env, cwd = root, ...options }) {
  const chunks = [];
  const silence = new AbortController();
  const timer = setTimeout(() => silence.abort(), longestSilence);
  const collect = (chunk) => { chunks.push(chunk); timer.refresh(); };
  const args = [...nodeOptions, '--require', './tests/support/preload.js', '--test-reporter=tap',
    ...(pattern ? [`--test-name-pattern=${pattern}`] : []), file];
  const temp = mkdtempSync(path.join(os.tmpdir(), 'borvanta-test-'));
  const start = performance.now();
  let end;
  let seconds;
  try {
    end = await runProgram(program, args, { ...options, cwd, stdout: collect, stderr: collect, signal: silence.signal,
      env: { ...env, BORVANTA_TEMP: options.host ? temp : `Z:${temp.replaceAll('/', '\\')}` } });
  } finally {
    clearTimeout(timer);
    seconds = (performance.now() - start) / 1000;
    removeFolder(temp);
  }
  const output = Buffer.concat(chunks).toString();
  const count = (what) => Number(output.match(new RegExp(`^# ${what} (\\d+)\r?$`, 'm'))?.[1] ?? 0);
  const [passed, skipped] = [count('pass'), count('skipped')];
  const counted = /^# pass \d+\r?$/m.test(output);
  const succeeded = counted && end === 0 && (pattern || passed + skipped > 0);
  const failed = count('fail') || (succeeded ? 0 : 1);
  const how = silence.signal.aborted ? `killed after ${longestSilence / 1000} s without output` : describeEnd(end);
  const last = [...output.matchAll(/^running: (.*?)\r?$/gm)].at(-1)?.[1] ?? 'none';
  const where = counted ? '' : ` before it had counted its tests; the last one that started: ${last}`;
  return { passed, failed, skipped, seconds, output: `${nameTraps(output)}\n(${how}${where})` };
}
