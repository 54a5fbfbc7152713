'use strict';
const { execSync } = require('node:child_process');
const { once } = require('node:events');
const { Worker } = require('node:worker_threads');
const { assert, block, fs, sleep, test, until } = require('../support');
const { watchThisProcess } = require('./watch_this_process.js');

const source = fs.readFileSync(__filename, 'utf8').split('\n');
const never = new Int32Array(new SharedArrayBuffer(4));

// Each stalls for some time. The comment marks the line.
function spin() { for (const end = Date.now() + 1500; Date.now() < end;); } // "spin"
function wait() { Atomics.wait(never, 0, 0, 1500); } // "wait"
function run(ms = 3000) { execSync(`"${process.execPath}" -e "setTimeout(() => {}, ${ms})"`); } // "run"

test('a stall names its function, line and column; a native call names its caller when it returns', async (t) => {
  const told = [];
  // What onJank rejects with comes to onError too. On a busy machine, a stall can end before it is captured.
  const { watch } = watchThisProcess(t, { thresholdMs: 500, onError: (error) => told.push(error),
    onJank: async (jank) => { throw Object.assign(new Error('from onJank'), jank); } });
  await watch.ready;
  for (const [stall, place] of [[spin, 'for ('], [wait, 'wait('], [run, 'execSync(']]) {
    stall();
    const ours = ({ scriptFrames = [] }) => scriptFrames.find((frame) => frame.function === stall.name);
    await until(() => told.some(ours));
    const found = told.find(ours);
    const { url, line, column } = ours(found);
    const at = source.findIndex((text) => text.includes(`// "${stall.name}"`));
    assert.ok(url.endsWith('/script_stack.every_release.test.js'), url);
    assert.deepEqual([line, column], [at + 1, source[at].indexOf(place, 15) + 1]);
    assert.ok(found.scriptFramesLate || stall !== run); // On a busy machine, every stack can be late.
    await sleep(200); // The loop turns for a while.
  }
});

const debugSource = `const { Session } = require('inspector');
  const session = new Session();
  session.connectToMainThread();
  session.on('Debugger.paused', () => setTimeout(() => {
    session.post('Debugger.resume');
    session.disconnect();
  }, 2000));
  session.post('Debugger.enable');
  session.post('Debugger.pause');
  setTimeout(() => {}, 2500);`;

test('a main thread that another session has paused is neither captured nor let go', async (t) => {
  const { watch, janks, errors } = watchThisProcess(t, { thresholdMs: 500 });
  await watch.ready;
  const seen = [];
  // On a busy machine, the thread may not say in time that it is paused. And V8 can lose the request to pause it.
  for (let attempts = 3; attempts > 0; attempts -= 1) {
    let hasEnded = false;
    new Worker(debugSource, { eval: true }).once('exit', () => { hasEnded = true; });
    let longest = 0;
    for (let last = Date.now(); !hasEnded; last = Date.now()) {
      await sleep(10);
      longest = Math.max(longest, Date.now() - last);
    }
    await sleep(300);
    seen.push([longest, ...janks.splice(0), ...errors.splice(0)]);
    if (longest > 1900 && seen.at(-1).length === 1) return;
  }
  assert.fail(JSON.stringify(seen));
});

const reader = JSON.stringify(require.resolve('../../lib/watchdog/read_script_stack.js'));

test('a thread that runs native code does not answer a request that has been withdrawn', async () => {
  // The worker asks when the thread is in native code for sure.
  const worker = new Worker(`const { parentPort } = require('worker_threads');
    const onAnswer = () => parentPort.postMessage('answered');
    setTimeout(() => {
      const { stack, cancel } = require(${reader}).readScriptStack({ hasTurned: () => false, onAnswer });
      setTimeout(cancel, 100);
      stack.then((read) => parentPort.postMessage(read));
    }, 500);`, { eval: true });
  const messages = [];
  worker.on('message', (message) => messages.push(message));
  run(1500);
  await once(worker, 'exit');
  assert.deepEqual(messages, [null]);
});

/** The source of a worker that reads the main thread's stack, and does `failure` where it would let the thread run. */
const failing = (failure) => `const { Session } = require('inspector');
  const { parentPort } = require('worker_threads');
  const { post } = Session.prototype;
  Session.prototype.post = function (method, ...rest) {
    if (method === 'Debugger.resume') { ${failure} }
    return post.call(this, method, ...rest);
  };
  setTimeout(() => {}, 3000);
  require(${reader}).readScriptStack({ hasTurned: () => false, onAnswer() {} }).stack
    .then(() => parentPort.postMessage('ended'));`;

test('the main thread goes on when the worker throws, or is terminated, while the thread is paused', async () => {
  const throwing = new Worker(failing("throw new Error('no resume');"), { eval: true });
  const hanging = failing('parentPort.postMessage(0); Atomics.wait(new Int32Array(new SharedArrayBuffer(4)), 0, 0);');
  const terminating = `const { Worker } = require('worker_threads');
    const inner = new Worker(${JSON.stringify(hanging)}, { eval: true });
    const tell = () => require('worker_threads').parentPort.postMessage('ended');
    inner.once('message', () => inner.terminate().then(tell));`;
  const ended = [throwing, new Worker(terminating, { eval: true })].map((worker) => once(worker, 'message'));
  // Both pause this thread, the one after the other.
  block((ms) => ms >= 1500, 1);
  assert.deepEqual(await Promise.all(ended), [['ended'], ['ended']]);
});
