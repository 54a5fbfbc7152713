// npm test: builds, checks the source files, and runs all tests in Node.js for Windows. The last line says how many
// passed and failed.
import { readdirSync } from 'node:fs';
import path from 'node:path';
import { build } from './lib/build.mjs';
import { checkAll } from './lib/checks.mjs';
import { report, reportTotals } from './lib/report.mjs';
import { ensureNoClient, ensureTools, nodeVersions } from './lib/setup.mjs';
import { onWindows, readArguments, root, runMain, SetupError } from './lib/shell.mjs';
import { runTestFile } from './lib/test_file.mjs';
import { makeClangFolder, makePackedFolder, testFolders } from './lib/test_folders.mjs';
import { windowsNode } from './lib/windows.mjs';
import { holdDesktop, stopWine, winePrefix } from './lib/wine.mjs';

const usage =
  `npm test -- [--node=${nodeVersions.join('|')}] [--build=shipped|clang|FOLDER] [--name=PATTERN] [--output] [PATH...]
  PATH      only test files whose path contains PATH (or one of several)
  --node    only in this release of Node.js for Windows
  --build   only with the module that ships, or with the one that Clang built; or with the build that "npm run package"
            has packed into FOLDER, and then compiles nothing
  --name    only tests whose name matches this regular expression
  --output  shows also what passing tests print
Without any of these, it also does what "npm run lint" does.`;

// Two lanes for two cores. Each lane has its own Wine prefix, and so its own registry.
const lanes = onWindows ? [0] : [0, 1];

function testFiles(ending) {
  return readdirSync(path.join(root, 'tests'), { recursive: true })
    .filter((file) => file.endsWith(ending)).map((file) => `tests/${file.replaceAll('\\', '/')}`).sort();
}

/**
 * The runs of all tests in Node.js for Windows: { name, file, version, build }. All files run in the last release, with
 * both builds. In the other releases only those run that are named "*.every_release.test.js".
 */
function scriptRuns(builds) {
  const last = nodeVersions.at(-1);
  return builds.flatMap((build) => (build === 'clang' ? [last] : [...nodeVersions].reverse())
    .flatMap((version) => testFiles('.test.js')
      .filter((file) => version === last || file.endsWith('.every_release.test.js'))
      .map((file) => ({
        name: `${file} in Node.js ${version}${build === 'clang' ? ', built by Clang' : ''}`, file, version, build }))));
}

/** The runs of tests that need Debian, to run Windows programs in Wine or to read dumps with another debugger. */
function hostRuns() {
  return testFiles('.host.test.mjs').map((file) => ({ name: `${file} on the host`, file, build: 'shipped' }));
}

/** The options, the `runs` that they select, and `packed`: the folder of a finished build, if that is to be tested. */
function readOptions() {
  const text = { type: 'string' };
  const { values: only, positionals: paths } = readArguments(usage,
    { options: { node: text, build: text, name: text, output: { type: 'boolean' } }, allowPositionals: true });
  const builds = onWindows ? ['shipped'] : ['shipped', 'clang'];
  const packed = only.build && !builds.includes(only.build) && path.resolve(process.env.INIT_CWD ?? '.', only.build);
  const all = packed ? scriptRuns(['packed']) : [...(onWindows ? [] : hostRuns()), ...scriptRuns(builds)];
  const runs = all.filter(({ file, version, build }) => (
    (paths.length === 0 || paths.some((part) => file.includes(part)))
    && (!only.node || version === only.node) && (packed || !only.build || build === only.build)));
  if (runs.length === 0) throw new SetupError(`No test file matches.\nUsage: ${usage}`);
  return { ...only, packed, runs, checksToo: paths.length === 0 && Object.keys(only).length === 0 };
}

/** Calls `runOne(run, lane)` for all runs, in each lane for one after the other. */
async function runInLanes(runs, runOne) {
  // The tests of the watchdog mostly wait and write no registry, and the second build has a low priority. So these run,
  // three at a time, beside all others, in the first lane's prefix.
  const waits = ({ file }) => file.startsWith('tests/watchdog/');
  const buildsAgain = ({ file }) => file.startsWith('tests/package/two_builds.');
  const queues = [
    [...runs.filter(waits), ...runs.filter(buildsAgain)],
    runs.filter((run) => !waits(run) && !buildsAgain(run)),
  ];
  async function runAll(queue, lane) {
    for (let next = queue.shift(); next; next = queue.shift()) await runOne(next, lane);
  }
  try {
    const beside = Array.from({ length: 3 }, () => runAll(queues[0], lanes[0]));
    await Promise.all([...beside, ...lanes.map((lane) => runAll(queues[1], lane))]);
  } finally {
    // If one lane has thrown, the others must not start another test in a prefix that is being stopped.
    for (const queue of queues) queue.length = 0;
  }
}

await runMain(async () => {
  const { packed, runs, checksToo, name: pattern, output } = readOptions();
  ensureNoClient();
  ensureTools({ forTests: true, finished: packed });
  const prefixes = onWindows ? [] : lanes.map((lane) => winePrefix(lane));
  await Promise.all([packed ? makePackedFolder(packed) : build({ tests: true }), ...prefixes]);
  const standIns = path.join(packed ? testFolders.packed : root, 'build', 'mingw', 'runtime');
  const nodes = Object.fromEntries(nodeVersions.map((version) => [version, windowsNode(version, standIns)]));
  // The Clang build and the checks run at the same time as the tests, which mostly wait. Their errors are thrown later,
  // where their results are awaited.
  const clang = runs.some((run) => run.build === 'clang') ? makeClangFolder() : Promise.resolve();
  const checks = checksToo ? checkAll(clang) : Promise.resolve([]);
  for (const later of [clang, checks]) later.catch(() => {});

  async function runOne({ name, file, version, build: built }, lane) {
    if (built === 'clang') await clang;
    const result = await runTestFile(version ? nodes[version] : process.execPath, file, {
      lane, host: onWindows || !version, pattern, cwd: testFolders[built] });
    report({ name, ...result }, output);
  }
  try {
    if (!onWindows) await Promise.all(lanes.map((lane) => holdDesktop(lane, nodes[nodeVersions.at(-1)])));
    await runInLanes(runs, runOne);
  } finally {
    for (const prefix of await Promise.all(prefixes)) stopWine(prefix);
  }
  for (const result of await checks) report(result);
  return reportTotals();
});
