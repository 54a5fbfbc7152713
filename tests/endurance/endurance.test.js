'use strict';
// Makes random calls with hostile arguments, captures processes that end meanwhile, and starts and ends script workers.
// Checks that every callback is called, and that memory and the number of handles stay flat. "npm run endurance" is the
// long form.
//   Options: --seed=N repeats the random choices; --calls=N, --captures=N and --workers=N set how many there are.
const { once } = require('node:events');
const { Worker, isMainThread, workerData } = require('node:worker_threads');
const promises = require('borvanta-util/promises');
const {
  assert, call, captureArgs, inTime, openHandles, randomNumbers, RegistryKey, scriptedSystem, sleep, startStallTarget,
  temporaryFolder, test, until,
} = require('../support');

/** The number of an option. If it is given several times, the last one counts. */
const option = (name, otherwise) => (
  Number(process.argv.filter((argument) => argument.startsWith(`--${name}=`)).at(-1)?.split('=')[1] ?? otherwise));
// A copy of the module, whose allocations are counted. Workers load the same copy.
const system = isMainThread && scriptedSystem(test);
const file = isMainThread ? system.file : workerData.file;
const util = require(file);
const seed = isMainThread ? option('seed', Date.now() % 2 ** 31) : workerData.seed;
const random = randomNumbers(seed);
const pick = (list) => list[random(list.length)];

let [due, came] = [0, 0];
const comes = () => { came += 1; };
const fail = () => { throw new RangeError('a callback or a getter that throws'); };
process.noDeprecation = true; // No warning for each callback that throws.
const callbacks = [comes, () => { comes(); fail(); }, new Proxy(comes, {}), comes.bind({}), async () => comes()];
const revocable = Proxy.revocable({}, {});
revocable.revoke();
const values = [undefined, null, true, false, 0, -0, -1, 1.5, NaN, Infinity, 2 ** 31, 2 ** 53, 1e300, 5n, '', 'text',
  'C:\\old.exe', 'a\0b', '\ud800', '直播 😀', Symbol('s'), [], {}, new Date(0), Buffer.alloc(9), new String('s'),
  Object.create(null), new Proxy({}, { get: fail, has: fail, ownKeys: fail }), revocable.proxy, 'x'.repeat(1_000_000),
  { toString: fail, valueOf: fail }, { get processId() { return fail(); } }, ...callbacks];
// Arguments for a process that does not exist. Now and then, reading a property throws or gives another value than
// before.
const hostileArgs = new Proxy(captureArgs({ processId: 0xFFFFFFF0 }), {
  get: (args, name) => (random(40) > 0 ? args[name] : name === 'processId' || random(2) ? fail() : pick(values)),
});

/** Calls a function of the module, mostly with the arguments that it expects. */
function callSomething() {
  const name = pick(Object.keys(util));
  const right = {
    removeOldVersion: [pick(values), pick(['', '1', '\0', '5.160'])],
    captureNativeJank: [hostileArgs, pick(callbacks)],
    getGpuUsage: [pick([0, -1, 1.5, NaN, process.pid, 2 ** 53]), 1, pick(callbacks)],
    enumProcessList: [pick(callbacks)],
  };
  // The module keeps the handle of an earlier claim open. So that no two claims overlap, only one thread makes them.
  if (name === 'createDuplicateMutex' && !isMainThread) return;
  const args = random(3) ? right[name] ?? [] : Array.from({ length: random(9) }, () => pick(values));
  try {
    util[name].apply(pick(values), args);
    if (name in promises) due += 1;
  } catch (error) {
    assert.ok(error instanceof TypeError || error instanceof RangeError, error);
  }
  if (name === 'createDuplicateMutex') util.destroyDuplicateMutex();
}

async function callMany(count) {
  for (let calls = 1; calls <= count; ++calls) {
    callSomething();
    if (calls % 100 === 0) await until(() => came >= due);
  }
  assert.ok(came <= due, 'a callback was called twice');
}

/** Captures a process five times before or after its end. Resolves to the error, or "Captured", of each capture. */
async function captureEnding(janksDir) {
  const lifetime = 100 + random(900);
  const target = await startStallTarget(1, lifetime).catch(() => undefined);
  if (!target) return captureEnding(janksDir); // The process ended before it had printed its ids.
  return Promise.all(Array.from({ length: 5 }, async () => {
    await sleep(random(lifetime));
    const { errorText, captureStackResult } = await call(util.captureNativeJank, captureArgs({ ...target, janksDir }));
    return errorText ?? captureStackResult.errorText ?? 'Captured';
  }));
}

/** Runs a script worker that makes calls. It may be terminated at any time. */
async function workAWhile() {
  const worker = new Worker(__filename, { workerData: { file, seed: random(2 ** 31) } });
  const ended = once(worker, 'exit');
  await sleep(random(300));
  if (!random(4)) worker.terminate();
  await inTime('the end of a script worker', ended);
}

/** How many blocks the module has allocated and not freed since the first count. */
const countBlocks = () => ['malloc', 'calloc', 'realloc'].filter((name) => system.imports.includes(name))
  .reduce((sum, name) => sum + system.count(name), -system.count('free'));

/** Makes 300 calls at the same time, because MinGW's library keeps a block for each thread that overlaps with others. */
async function fillThreadPool() {
  system.hold('CreateToolhelp32Snapshot');
  const calls = Array.from({ length: 300 }, () => call(util.enumProcessList));
  system.restore('CreateToolhelp32Snapshot');
  await Promise.all(calls);
}

const steps = 3;

/** From the end of the first step to the end of the last, these must grow by less. Memory is in MB. */
const limits = { memory: 8, handles: 10, blocks: 6 };

/** Takes all steps and checks that these kinds stay flat. */
async function staysFlat(takeStep, kinds = Object.keys(limits)) {
  const held = [];
  while (held.length < steps) {
    console.log(`${await takeStep()}`);
    await sleep(200); // Threads that have delivered their result may not have ended yet.
    const { rss, heapTotal } = process.memoryUsage();
    held.push({ memory: (rss - heapTotal) / 2 ** 20, handles: openHandles(), blocks: countBlocks() });
    console.log(held.at(-1));
  }
  for (const kind of kinds) {
    const grown = held.at(-1)[kind] - held[0][kind];
    assert.ok(grown < limits[kind], `${kind} grew by ${grown}`);
  }
}

/** Runs one step's share of `count` runs of `start`, and resolves when all of them have ended. */
const share = (count, start) => Promise.all(Array.from({ length: count / steps }, start));

if (isMainThread) {
  console.log(`--seed=${seed}`);
  const folder = temporaryFolder(test);
  test.before(fillThreadPool);
  test.after(() => new RegistryKey('SOFTWARE\\Borvanta', 32).remove());
  test('random calls call back and leak nothing', () => staysFlat(() => callMany(option('calls', 1800) / steps)));
  test('captures of processes that end meanwhile leak nothing', () => (
    staysFlat(() => share(option('captures', 9), () => captureEnding(`${folder}\\`)))));
  // Node.js itself keeps memory of script workers that have ended. In Node.js 26, memory grew by up to 33 MB while 108
  // workers ended that never loaded the module, and not by more with workers that did.
  test('script workers that start and end leak nothing', () => (
    staysFlat(() => share(option('workers', 18), workAWhile), ['handles', 'blocks'])));
} else {
  callMany(99);
  if (random(4)) process.exit(); // Ends the worker while calls are under way.
}
