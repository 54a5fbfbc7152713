'use strict';
// A long life in short: random calls with hostile arguments, captures of processes that end under them, and script
// workers that come and go. All callbacks come, and memory and handles stay flat. "npm run endurance" is the long form.
//   --seed=N repeats what chance decides; --calls=N --captures=N --workers=N
const { once } = require('node:events');
const { Worker, isMainThread, workerData } = require('node:worker_threads');
const promises = require('borvanta-util/promises');
const {
  assert, call, captureArgs, load, openHandles, randomNumbers, RegistryKey, sleep, startStallTarget, temporaryFolder,
  test,
} = require('../support');

/** An option's number; of several the last. */
const option = (name, otherwise) => (
  Number(process.argv.filter((argument) => argument.startsWith(`--${name}=`)).at(-1)?.split('=')[1] ?? otherwise));
const util = load();
const seed = isMainThread ? option('seed', Date.now() % 2 ** 31) : workerData;
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
// For a process that is not there. Now and then reading a property throws, or gives something else than before.
const hostileArgs = new Proxy(captureArgs({ processId: 0xFFFFFFF0 }), {
  get: (args, name) => (random(40) > 0 ? args[name] : name === 'processId' || random(2) ? fail() : pick(values)),
});

/** Calls a script function, mostly with arguments that are right. */
function callSomething() {
  const name = pick(Object.keys(util));
  const right = {
    removeOldVersion: [pick(values), pick(['', '1', '\0', '5.160'])],
    captureNativeJank: [hostileArgs, pick(callbacks)],
    getGpuUsage: [pick([0, -1, 1.5, NaN, process.pid, 2 ** 53]), 1, pick(callbacks)],
    enumProcessList: [pick(callbacks)],
  };
  // Of two claims at once, the handle of one would stay open: the module promises that.
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
    for (let tries = 0; calls % 100 === 0 && came < due; ++tries) {
      assert.ok(tries < 3000, `${due - came} callbacks are missing`);
      await sleep(10);
    }
  }
  assert.ok(came <= due, 'a callback came twice');
}

/** Captures a process several times while it ends. Resolves to what the captures said. */
async function captureEnding(janksDir) {
  const lifetime = 100 + random(900);
  const target = await startStallTarget(1, lifetime).catch(() => undefined);
  if (!target) return captureEnding(janksDir); // It ended too early.
  return Promise.all(Array.from({ length: 5 }, async () => {
    await sleep(random(lifetime));
    const { errorText, captureStackResult } = await call(util.captureNativeJank, captureArgs({ ...target, janksDir }));
    return errorText ?? captureStackResult.errorText ?? 'Captured';
  }));
}

/** A worker that makes calls, and ends or is ended while some of them are on their way. */
async function workAWhile() {
  const worker = new Worker(__filename, { workerData: random(2 ** 31) });
  const ended = once(worker, 'exit');
  await sleep(random(300));
  if (random(2)) await worker.terminate();
  await ended;
}

const steps = 3;

/** Takes these steps and compares what is held after the first and after the last one. */
async function staysFlat(megabytes, takeStep) {
  const held = [];
  while (held.length < steps) {
    console.log(`${await takeStep()}`);
    await sleep(200); // Threads that have delivered are still on their way out.
    const { rss, heapTotal } = process.memoryUsage();
    held.push({ memory: (rss - heapTotal) / 2 ** 20, handles: openHandles() });
    console.log(held.at(-1));
  }
  const grown = (kind) => held.at(-1)[kind] - held[0][kind];
  assert.ok(grown('memory') < megabytes, `${grown('memory')} MB more`);
  assert.ok(grown('handles') < 10, `${grown('handles')} handles more`);
}

/** Starts the part of `count` things that one step has and resolves when all have ended. */
const share = (count, start) => Promise.all(Array.from({ length: count / steps }, start));

if (isMainThread) {
  console.log(`--seed=${seed}`);
  const folder = temporaryFolder(test);
  test.after(() => new RegistryKey('SOFTWARE\\Borvanta', 32).remove());
  test('random calls with hostile arguments', () => staysFlat(8, () => callMany(option('calls', 1800) / steps)));
  test('captures of processes that end', () => (
    staysFlat(8, () => share(option('captures', 9), () => captureEnding(`${folder}\\`)))));
  test('script workers that come and go', () => (
    staysFlat(option('workers', 18), () => share(option('workers', 18), workAWhile))));
} else {
  callMany(99);
}
