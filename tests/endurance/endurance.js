'use strict';
// A long life in short: random calls of all script functions, captures of processes that end under them, and script
// workers that come and go. Ends with an error when a callback is missing or memory or handles grow.
//   node --expose-gc endurance.js [--seed=N] [--calls=N] [--captures=N] [--lifetime=MS] [--workers=N]
const assert = require('node:assert/strict');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { setTimeout: sleep } = require('node:timers/promises');
const { Worker, isMainThread, workerData } = require('node:worker_threads');
const { buildFolder, call, load, tryReg } = require('../support/windows.js');
const { captureArgs, startStallTarget } = require('../support/stall_target.js');

const util = load();
// Some functions keep a state that belongs to the one script thread of the process.
const mainThreadOnly = ['isDebugMode', 'createDuplicateMutex', 'destroyDuplicateMutex', 'enterStartupMask', 'leaveStartupMask'];
const functions = Object.keys(util).filter((name) => isMainThread || !mainThreadOnly.includes(name));

/** Random numbers below `end` that a seed repeats. */
function randomNumbers(seed) {
  let state = seed >>> 0;
  return (end) => {
    state = (state + 0x6D2B79F5) >>> 0;
    let bits = Math.imul(state ^ (state >>> 15), state | 1);
    bits ^= bits + Math.imul(bits ^ (bits >>> 7), bits | 61);
    return ((bits ^ (bits >>> 14)) >>> 0) % end;
  };
}

/** Calls script functions with random arguments, and counts the callbacks that are due and those that came. */
class Caller {
  constructor(seed) {
    this.random = randomNumbers(seed);
    this.due = 0;
    this.came = 0;
    this.thrown = 0;
    const came = () => { this.came += 1; };
    const fail = () => { throw new RangeError('a callback or a getter that throws'); };
    this.callbacks = [came, () => { came(); fail(); }, new Proxy(came, {}), came.bind({}), async () => came()];
    const { proxy: revoked, revoke } = Proxy.revocable({}, {});
    revoke();
    this.values = [undefined, null, true, false, 0, -0, -1, 1.5, NaN, Infinity, 2 ** 31, 2 ** 53, 1e300, 5n, '', 'text',
      'C:\\old.exe', 'a\0b', '\ud800', '直播 😀', Symbol('s'), [], {}, new Date(0), Buffer.alloc(9), new String('s'),
      Object.create(null), new Proxy({}, { get: fail, has: fail, ownKeys: fail }), revoked, 'x'.repeat(1_000_000),
      { toString: fail, valueOf: fail }, { get processId() { return fail(); } }, ...this.callbacks];
  }

  pick(list) {
    return list[this.random(list.length)];
  }

  /** Arguments for a capture of a process that is not there, one of them wrong perhaps. */
  captureArguments() {
    const args = captureArgs({ processId: 0xFFFFFFF0 });
    const name = this.pick(Object.keys(args));
    const fail = () => { throw new RangeError(name); };
    switch (this.random(5)) {
      case 0: return args;
      case 1: return Object.defineProperty(args, name, { get: fail });
      case 2: return new Proxy(args, { get: (target, key) => (this.random(30) === 0 ? fail() : target[key]) });
      case 3: return /Id$/.test(name) ? args : { ...args, [name]: this.pick(this.values) };
      // Of the right type when it is checked, and of another when it is read.
      default: return Object.defineProperty(args, name, {
        get: () => (this.random(2) || name === 'processId' ? captureArgs({ processId: 0xFFFFFFF0 })[name] : null),
      });
    }
  }

  argumentsOf(name) {
    if (this.random(3) === 0) return Array.from({ length: this.random(9) }, () => this.pick(this.values));
    const callback = this.pick(this.callbacks);
    switch (name) {
      case 'captureNativeJank': return [this.captureArguments(), callback];
      case 'enumProcessList': return [callback];
      case 'getGpuUsage': return [this.pick([0, -1, 1.5, NaN, process.pid, 2 ** 53]), 1, callback];
      case 'removeOldVersion': return [this.pick(this.values), `${this.pick(['', '1', '\0', '5.160'])}`];
      default: return [];
    }
  }

  one() {
    const name = this.pick(functions);
    const args = this.argumentsOf(name);
    try {
      const result = util[name].apply(this.pick(this.values), args);
      if (/^(captureNativeJank|enumProcessList|getGpuUsage)$/.test(name)) {
        assert.equal(result, undefined);
        this.due += 1;
      }
    } catch (error) {
      if (!(error instanceof Error) || error.code === 'ERR_ASSERTION') throw error;
      this.thrown += 1;
    }
    // A second claim would overwrite the handle of the first, as it should.
    if (name === 'createDuplicateMutex') util.destroyDuplicateMutex();
  }

  async allCame() {
    for (let tries = 0; this.came < this.due; ++tries) {
      assert.ok(tries < 3000, `${this.due - this.came} callbacks are missing`);
      await sleep(10);
    }
    assert.equal(this.came, this.due);
  }
}

const say = (text) => console.log(`${(process.uptime()).toFixed(1).padStart(6)} s  ${text}`);

/** What is held after all rubbish is gone: memory in bytes, open handles. */
async function held() {
  const loaded = { exports: {} };
  process.dlopen(loaded, path.join(buildFolder, 'helpers', 'fault-injector.node'));
  // Threads that have just delivered are still on their way out.
  await sleep(200);
  global.gc();
  global.gc();
  return { memory: process.memoryUsage().rss, handles: loaded.exports.openHandles() };
}

/**
 * Runs `step()` ten times and compares what is held after the first time and after the last. Resolves to the growth of
 * the memory in bytes.
 */
async function keepsFlat(what, step, { memory, handles = 20 }) {
  let first;
  let last;
  for (let index = 0; index < 10; ++index) {
    await step();
    last = await held();
    first ??= last;
    say(`${what} ${index + 1}/10: ${(last.memory / 2 ** 20).toFixed(1)} MB, ${last.handles} handles`);
  }
  assert.ok(last.memory - first.memory < memory, `${what}: ${last.memory - first.memory} bytes more`);
  assert.ok(last.handles - first.handles < handles, `${what}: ${last.handles - first.handles} handles more`);
  return last.memory - first.memory;
}

async function randomCalls(seed, calls) {
  const caller = new Caller(seed);
  let uncaught = 0;
  const onUncaught = (error) => {
    if (!(error instanceof RangeError)) throw error;
    uncaught += 1;
  };
  process.on('uncaughtException', onUncaught);
  const step = async () => {
    for (let index = 0; index < calls / 10; ++index) {
      caller.one();
      if (index % 200 === 199) await caller.allCame();
    }
    await caller.allCame();
  };
  await keepsFlat('calls', step, { memory: 8 * 2 ** 20 });
  process.off('uncaughtException', onUncaught);
  say(`${calls} calls: ${caller.thrown} refused, ${caller.came} callbacks, ${uncaught} of them threw`);
}

const outcomes = new Map();

/** Captures a process several times at once while it ends. */
async function captureEndingProcess(random, folder, count, lifetime) {
  const target = await startStallTarget('exit-after', String(200 + random(lifetime))).catch(() => undefined);
  if (!target) return captureEndingProcess(random, folder, count, lifetime);
  await Promise.all(Array.from({ length: count }, async () => {
    await sleep(random(1000));
    const result = await call(util.captureNativeJank, captureArgs({ ...target, janksDir: `${folder}\\` }));
    const outcome = result.errorText ?? result.captureStackResult.errorText ?? result.dumpJankResult.errorText ?? 'captured';
    outcomes.set(outcome, (outcomes.get(outcome) ?? 0) + 1);
  }));
  while (target.child.exitCode === null) await sleep(10);
}

async function captures(seed, count, lifetime) {
  const random = randomNumbers(seed);
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'borvanta-endurance-'));
  const atOnce = 5;
  const step = async () => {
    for (let left = count / 10; left > 0; left -= 4 * atOnce) {
      await Promise.all([1, 2, 3, 4].map(() => captureEndingProcess(random, folder,
        Math.min(atOnce, Math.ceil(left / 4)), lifetime)));
    }
  };
  try {
    await keepsFlat('captures', step, { memory: 32 * 2 ** 20 });
  } finally {
    fs.rmSync(folder, { recursive: true, force: true, maxRetries: 5 });
  }
  say(`${count} captures: ${[...outcomes].map(([outcome, times]) => `${times} ${outcome}`).join(', ')}`);
}

/** Workers that make calls and end, or are ended, while some of them are on their way. */
async function workers(seed, count) {
  const random = randomNumbers(seed);
  const step = async (makeWorker) => {
    await Promise.all(Array.from({ length: count / 10 }, async () => {
      const worker = makeWorker();
      const ended = new Promise((resolve) => { worker.on('exit', resolve); });
      worker.on('error', (error) => { if (!(error instanceof RangeError)) throw error; });
      await sleep(random(300));
      if (random(2)) await worker.terminate();
      await ended;
    }));
  };
  // Node.js itself keeps some memory for every worker that there was.
  const bare = await keepsFlat('bare workers', () => step(() => new Worker('', { eval: true })), { memory: Infinity });
  const calling = () => new Worker(__filename, { workerData: { seed: random(2 ** 31) } });
  await keepsFlat('workers', () => step(calling), { memory: Math.max(bare, 0) + count * 64 * 2 ** 10 + 4 * 2 ** 20 });
}

async function main() {
  const option = (name, otherwise) => (
    Number(process.argv.find((argument) => argument.startsWith(`--${name}=`))?.split('=')[1] ?? otherwise));
  const seed = option('seed', Date.now() % 2 ** 31);
  say(`seed ${seed}`);
  try {
    await randomCalls(seed, option('calls', 100_000));
    await captures(seed, option('captures', 1000), option('lifetime', 4000));
    await workers(seed, option('workers', 100));
  } finally {
    tryReg('delete', 'HKLM\\SOFTWARE\\Borvanta', '/reg:32', '/f');
  }
  say('nothing is missing and nothing has grown');
}

if (isMainThread) {
  // Without anything left to wait for, Node.js ends as if all were well.
  process.exitCode = 1;
  main().then(() => { process.exitCode = 0; }, (error) => {
    console.error(error);
    process.exit(1);
  });
} else {
  const caller = new Caller(workerData.seed);
  for (let index = 0; index < 100; ++index) caller.one();
}
