// npm test: builds, checks the style, runs all tests in Node.js for Windows, and closes with one line of how many passed
// and failed. Arguments select tests whose path contains one of them: npm test -- process_list
// With --output what passing tests print is shown too.
import { readdirSync } from 'node:fs';
import path from 'node:path';
import { build } from './lib/build.mjs';
import { checkStyle } from './lib/style.mjs';
import { checkTypes } from './lib/types.mjs';
import { ensureTools, ensureWinePrefix, nodeVersions } from './lib/setup.mjs';
import { onWindows, root, runMain, say } from './lib/shell.mjs';
import { holdLane, runProgram, stopLane, windowsNode } from './lib/windows.mjs';

const timeoutMs = 300_000;
// Two lanes for two cores. Each has a Wine prefix, and so a registry, of its own.
const lanes = onWindows ? [0] : [0, 1];

const showOutput = process.argv.includes('--output');
const totals = { passed: 0, failed: 0 };

/** Adds one run's result to the totals and shows it; the output of a failed run is shown whole. */
function report(name, { passed, failed, skipped = 0, output, seconds }) {
  totals.passed += passed;
  totals.failed += failed;
  const others = skipped ? `, ${skipped} skipped` : '';
  const time = seconds === undefined ? '' : ` (${seconds.toFixed(1)} s)`;
  console.log(`${failed ? 'FAILED' : 'ok    '} ${name}: ${passed} passed, ${failed} failed${others}${time}`);
  if (failed || showOutput) console.log(output);
}

/** Runs a test file and counts its tests; an end without a count, or with a failure code, is a failure. */
async function runTestFile(name, program, file, options) {
  const chunks = [];
  const collect = (chunk) => chunks.push(chunk);
  const start = performance.now();
  const code = await runProgram(program, ['--test-reporter=tap', file], { stdout: collect, stderr: collect, timeoutMs, cwd: root, ...options });
  const seconds = (performance.now() - start) / 1000;
  const output = Buffer.concat(chunks).toString();
  const count = (what) => Number(output.match(new RegExp(`^# ${what} (\\d+)\r?$`, 'm'))?.[1] ?? 0);
  const [passed, skipped] = [count('pass'), count('skipped')];
  let failed = count('fail');
  if (failed === 0 && (code !== 0 || passed + skipped === 0)) failed = 1;
  const end = seconds * 1000 < timeoutMs ? `exit code ${code}` : `killed after ${timeoutMs / 1000} s`;
  report(name, { passed, failed, skipped, output: `${output}\n(${end})`, seconds });
}

function testFiles(ending) {
  return readdirSync(path.join(root, 'tests'), { recursive: true })
    .filter((file) => file.endsWith(ending)).map((file) => `tests/${file.replaceAll('\\', '/')}`).sort();
}

/** A test of the module more than of Node.js, and a long one, bears ".once" in its name and runs in one release only. */
const isFor = (file, version) => !file.endsWith('.once.test.js') || version === nodeVersions.at(-1);

function scriptTests() {
  const files = testFiles('.test.js');
  return nodeVersions.toReversed().flatMap((version) => files.filter((file) => isFor(file, version)).map((file) => ({
    name: `${file} in Node.js ${version}`,
    run: (name, lane) => runTestFile(name, windowsNode(version), file, { lane }),
  })));
}

/** Tests of what only Debian can do: running Windows programs in Wine, reading dumps with another debugger. */
function hostTests() {
  return onWindows ? [] : testFiles('.host.test.mjs').map((file) => ({
    name: `${file} on the host`,
    run: (name) => runTestFile(name, process.execPath, file, { host: true }),
  }));
}

await runMain(async () => {
  const selections = process.argv.slice(2).filter((argument) => argument !== '--output');
  const selected = ({ name }) => selections.length === 0 || selections.some((selection) => name.includes(selection));
  ensureTools({ forTests: true });
  build({ tests: true });
  const queue = [...hostTests(), ...scriptTests()].filter(selected);
  for (const version of nodeVersions) windowsNode(version);
  for (const lane of lanes) if (!onWindows) ensureWinePrefix(lane);
  // Beside the tests, which wait for much and compute little.
  const style = selections.length === 0 ? checkStyle() : undefined;
  // Heard below, when the tests are done.
  style?.catch(() => {});
  try {
    for (const lane of lanes) holdLane(lane);
    await Promise.all(lanes.map(async (lane) => {
      for (let test = queue.shift(); test; test = queue.shift()) await test.run(test.name, lane);
    }));
  } finally {
    // Where one lane has failed, the other is to begin nothing more in a prefix that is being stopped.
    queue.length = 0;
    for (const lane of lanes) stopLane(lane);
  }
  if (style) {
    report('types', checkTypes());
    for (const [name, result] of await style) report(name, result);
  }
  say('');
  console.log(`${totals.passed} passed, ${totals.failed} failed`);
  return totals.failed === 0 && totals.passed > 0 ? 0 : 1;
});
