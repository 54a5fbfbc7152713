'use strict';
// npm run bench, in Node.js for Windows: measures the module side by side with bare calls, prints the table, and writes
// it to build/bench/results.json. With --chart also draws it to docs/bench.svg.
const fs = require('node:fs');
const path = require('node:path');
const { buildFolder, captureArgs, modulePath, startStallTarget } = require('../tests/support/windows.js');
const { koffi, readLoaded, windows } = require('../tests/support/windows_api.js');
const { drawChart } = require('./lib/chart.js');
const { calls, callbacks, compare, time } = require('./lib/measure.js');
const { startProcesses } = require('./lib/processes.js');

const root = path.resolve(__dirname, '..');
const programs = path.join(buildFolder, 'bench');
const results = path.join(root, 'build', 'bench');
const baselineFile = path.join(programs, 'baseline.node');
const getProcAddress = windows('kernel32', 'void* GetProcAddress(void*, str)');
const limit = 1.15;
const processCount = 160;

const rows = [];

/** Measures and prints one row of the table. `what` names what is measured, `against` names the bare side. */
async function row(what, against, sides) {
  const result = await compare(sides);
  rows.push({ what, against, ...result });
  const { median, lower, upper } = result.ratio;
  console.log([what.padEnd(46), against.padEnd(34), median.toFixed(2), `${lower.toFixed(2)} to ${upper.toFixed(2)}`,
    duration(result.module.median), duration(result.bare.median)].join('  '));
}

function duration(nanoseconds) {
  const [unit, size] = nanoseconds < 1e3 ? ['ns', 1] : nanoseconds < 1e6 ? ['us', 1e3] : ['ms', 1e6];
  return `${(nanoseconds / size).toPrecision(3)} ${unit}`.padStart(9);
}

/**
 * Lets the module call a function that the baseline exports, instead of an import. Returns a function that undoes it.
 * It is native, so that it takes no more time than the real one.
 */
function replaceImport(name, replacement) {
  const { slot } = readLoaded(modulePath).imports.find((entry) => entry.name === name);
  const real = slot.readBigUInt64LE();
  slot.writeBigUInt64LE(koffi.address(getProcAddress(readLoaded(baselineFile).address, replacement)));
  return () => slot.writeBigUInt64LE(real);
}

/** A side that loads an add-on from a new copy, because the same file is loaded only once. */
const load = (file, folder) => (round) => {
  const copy = path.join(folder, `${path.basename(file, '.node')}${round}.node`);
  fs.copyFileSync(file, copy);
  return time(() => process.dlopen({ exports: {} }, copy));
};

async function measureLoad(folder) {
  await row('Load', 'empty add-on', {
    module: load(modulePath, folder), bare: load(path.join(programs, 'empty.node'), folder), rounds: 60 });
}

async function measureAnswers(util, baseline) {
  for (const name of ['getGuid', 'getCpuName', 'getOsVersionWithReleaseId']) {
    const text = util[name]();
    baseline.setAnswer(text);
    if (baseline.answer() !== text) throw new Error('The sides answer differently');
    const module = () => calls(util[name], 4_000);
    await row(`${name}, ${text.length} characters`, 'empty Node-API function',
      { module: module(), bare: calls(baseline.answer, 4_000), rounds: 400 });
    await row(`${name}, ${text.length} characters`, 'the same in node-addon-api',
      { module: module(), bare: calls(baseline.emptyAnswer, 4_000), rounds: 400 });
  }
}

async function measureCallbacks(util, baseline) {
  // Without a snapshot, enumProcessList only goes to a worker and back.
  const giveSnapshots = replaceImport('CreateToolhelp32Snapshot', 'NoSnapshot');
  for (const count of [1, 10, 100]) {
    const side = (start) => callbacks(start, count, Math.ceil(20 / count));
    for (const [against, call] of [
      ['bare thread', baseline.threadCall], ['thread of the library', baseline.workerCall]]) {
      await row(`Call to callback, ${count} at once`, against,
        { module: side(util.enumProcessList), bare: side(call), rounds: 30 });
    }
  }
  giveSnapshots();
}

async function measureProcessList(util, baseline) {
  const endAll = await startProcesses(path.join(programs, 'waiter.exe'), processCount);
  try {
    const count = baseline.listProcesses().list.length;
    if (count < processCount) throw new Error(`Only ${count} processes are running`);
    const { list } = await new Promise(util.enumProcessList);
    if (list.length !== count) throw new Error(`The sides list ${list.length} and ${count} processes`);
    // The callback goes through the event loop, like the callbacks of the module.
    const listBare = (callback) => {
      baseline.listProcesses();
      setImmediate(callback);
    };
    await row(`enumProcessList, ${count} processes`, 'bare snapshot loop', {
      module: callbacks(util.enumProcessList, 1, 4), bare: callbacks(listBare, 1, 4), rounds: 30 });
  } finally {
    await endAll();
  }
}

async function measureFrozenTime(util, baseline, folder, depth) {
  const { kill, processId, threadId } = await startStallTarget(depth || 1);
  const args = captureArgs({ processId, threadId, janksDir: `${folder}${path.sep}` });
  const empty = () => {
    for (const name of fs.readdirSync(folder)) fs.rmSync(path.join(folder, name));
  };
  const capture = async () => {
    empty();
    const result = await new Promise((resolve) => { util.captureNativeJank(args, resolve); });
    const { dumpJankResult: { succ }, captureStackResult: { stackTrace } } = result;
    if (!succ || !stackTrace) throw new Error(JSON.stringify(result));
    return { nanoseconds: baseline.latestFrozenTime(), frames: stackTrace.trimEnd().split('\r\n').length };
  };
  const captureBare = () => {
    empty();
    return baseline.bareCapture(processId, threadId, path.join(folder, 'bare.dmp'));
  };
  try {
    const [module, bare] = [await capture(), captureBare()];
    if (module.frames !== bare.frames) throw new Error(`The sides walk ${module.frames} and ${bare.frames} frames`);
    await row(`Frozen thread${depth ? `, ${depth} frames deep` : ''}`, 'bare dump and walk', {
      module: async () => (await capture()).nanoseconds, bare: () => captureBare().nanoseconds, rounds: 11 });
  } finally {
    await kill();
  }
}

async function measureGpuUsage(baseline) {
  for (const count of [100, 1_000, 10_000]) {
    baseline.makeInstances(count);
    if (baseline.sumInstances(1).total !== baseline.sumInstancesBare(1).total) throw new Error('The sums differ');
    const rounds = 100_000 / count;
    const side = (sum) => () => sum(rounds).nanoseconds / (rounds * count);
    await row(`GPU usage, each of ${count} instances`, 'lower case and wcsstr',
      { module: side(baseline.sumInstances), bare: side(baseline.sumInstancesBare), rounds: 30 });
  }
}

async function main() {
  // Removed only at the next run: while this process lives, Windows does not remove the copies that it has loaded.
  const folder = path.join(results, 'scratch');
  fs.rmSync(folder, { recursive: true, force: true });
  fs.mkdirSync(folder, { recursive: true });
  const subfolder = (name) => {
    const whole = path.join(folder, name);
    fs.mkdirSync(whole);
    return whole;
  };
  console.log('Time of the module divided by that of the bare calls (median, quartiles), then both median times.\n');
  await measureLoad(subfolder('load'));
  const util = require(modulePath);
  const baseline = require(baselineFile);
  for (const what of ['Suspend', 'Resume']) replaceImport(`${what}Thread`, `Note${what}`);
  await measureAnswers(util, baseline);
  await measureGpuUsage(baseline);
  await measureCallbacks(util, baseline);
  await measureFrozenTime(util, baseline, subfolder('shallow'));
  await measureFrozenTime(util, baseline, subfolder('deep'), 1_000);
  await measureProcessList(util, baseline);

  // The ratios depend on the compiler, the system and the processor, so the results name these.
  const compiler = path.basename(buildFolder) === 'msvc' ? 'MSVC' : 'MinGW';
  const system = process.env.WINEPREFIX ? 'Wine' : `Windows ${util.getOsVersionWithReleaseId()}`;
  const measured = { compiler, system, processor: util.getCpuName().trim(), node: process.version,
    date: new Date().toISOString(), limit, rows };
  fs.writeFileSync(path.join(results, 'results.json'), `${JSON.stringify(measured, null, 2)}\n`);
  if (process.argv.includes('--chart')) fs.writeFileSync(path.join(root, 'docs', 'bench.svg'), drawChart(measured));
  const above = rows.filter(({ ratio }) => ratio.median > limit).length;
  console.log(`\n${rows.length - above} of ${rows.length} ratios are at most ${limit}.`);
}

// If a callback never comes, Node.js has nothing left to wait for and ends. The exit code must not be 0 then.
process.exitCode = 1;
main().then(() => { process.exitCode = 0; }, (error) => {
  console.error(error);
  process.exit(1);
});
