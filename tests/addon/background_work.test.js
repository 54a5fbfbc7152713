'use strict';
const assert = require('node:assert/strict');
const { createHook } = require('node:async_hooks');
const test = require('node:test');
const { call, helperPath, load, modulePath, runScript } = require('../support/windows.js');

const util = load();
const napiGenericFailure = 9;
const napiClosing = 16;

/** The beginning of a script that drives probes; `until` waits for what happens on other threads. */
const withProbe = `
  const { Worker } = require('node:worker_threads');
  const probe = require(${JSON.stringify(helperPath)});
  const until = async (holds) => {
    for (let turn = 0; turn < 500 && !holds(); ++turn) await new Promise((resolve) => { setTimeout(resolve, 10); });
    return holds();
  };`;

test('calls back once, later, with one argument, undefined as receiver and its own resource name', async () => {
  const resources = [];
  const hook = createHook({ init: (_, type) => resources.push(type) }).enable();
  const calls = [];
  let returned = false;
  assert.equal(util.enumProcessList(function callback(...args) { calls.push([returned, this, args.length]); }), undefined);
  returned = true;
  hook.disable();
  await new Promise((resolve) => { setTimeout(resolve, 300); });
  assert.deepEqual(calls, [[true, undefined, 1]]);
  assert.ok(resources.includes('enum_process_list_callback'), resources.join());
});

test('a callback that throws is an uncaught exception, and the module goes on working', async () => {
  const printed = await runScript(`
    process.on('uncaughtException', (error) => {
      print(error.message);
      util.enumProcessList(({ list }) => print(list.length > 0));
    });
    util.enumProcessList(() => { throw new Error('from the callback'); });`);
  assert.deepEqual(printed, ['from the callback', true]);
  await assert.rejects(runScript(`util.enumProcessList(() => { throw new Error('nobody listens'); });`),
    /exit code [1-9].*nobody listens/s);
});

test('a process survives script workers that end inside a callback', async () => {
  const printed = await runScript(`
    const { Worker } = require('node:worker_threads');
    const run = (callback) => new Promise((resolve) => {
      const worker = new Worker(\`const { parentPort } = require('node:worker_threads');
        require(${JSON.stringify(JSON.stringify(modulePath)).slice(1, -1)}).enumProcessList(() => { \${callback} });\`, { eval: true });
      worker.on('message', () => worker.terminate());
      worker.on('exit', resolve);
    });
    print(await run('process.exit(7);'));
    print(await run("parentPort.postMessage('looping'); for (;;);"));
    util.enumProcessList(({ list }) => print(list.length > 0));`);
  assert.deepEqual(printed, [7, 1, true]);
});

// The module is not loaded on the main thread here, so each worker that ends would have it unloaded.
test('a process survives 200 script workers that are terminated while their calls are under way', async () => {
  const printed = await runScript(`
    const { Worker } = require('node:worker_threads');
    const file = ${JSON.stringify(modulePath)};
    const source = \`
      const util = require(\${JSON.stringify(file)});
      util.captureNativeJank?.({ processId: 0, threadId: 0, jankType: '', janksDir: 'C:\\\\\\\\', userId: '', deviceId: '',
        version: '', systemVersion: '', logFilename: '', living: false, uptime: 0, duration: 0 }, () => {});
      util.initGpuUsage?.();
      util.getGpuUsage?.(process.pid, 0, () => {});
      util.enumProcessList(() => {});
      require('node:worker_threads').parentPort.postMessage('started');
      setInterval(() => {}, 1000);\`;
    let started = 0;
    let begun = 0;
    const runWorkers = async () => {
      while (begun < 200) {
        // Every fourth is not waited for, and ends while it starts or loads the module.
        const patient = ++begun % 4 !== 0;
        const worker = new Worker(source, { eval: true });
        worker.on('error', (error) => print(error.message));
        await new Promise((resolve) => {
          worker.on('exit', resolve);
          worker.on('message', () => { ++started; worker.terminate(); });
          if (!patient) setTimeout(() => worker.terminate(), begun % 50);
        });
      }
    };
    await Promise.all(Array.from({ length: 8 }, runWorkers));
    print(started >= 150);
    require(file).enumProcessList(({ list }) => print(list.length > 0));`, { module: null });
  assert.deepEqual(printed, [true, true]);
});

test('an environment that ends before its worker leaves nothing behind', async () => {
  const printed = await runScript(`${withProbe}
    const worker = new Worker(\`require(\${JSON.stringify(${JSON.stringify(helperPath)})}).startProbe(() => {});\`, { eval: true });
    await until(() => probe.liveRecords() === 1);
    await worker.terminate();
    print(probe.liveRecords());
    probe.endProbes();
    print(await until(() => probe.liveRecords() === 0));`);
  assert.deepEqual(printed, [1, true]);
});

test('a refused delivery frees the record, and one refused because of closing is not followed by a release', async () => {
  const run = (status) => runScript(`${withProbe}
    probe.refuseCalls(${status});
    probe.startProbe(() => print('called back'));
    await until(() => probe.liveRecords() === 1);
    probe.endProbes();
    print(await until(() => probe.liveRecords() === 0));
    process.on('exit', () => print(probe.releases()));`);
  assert.deepEqual(await run(napiClosing), [true, 0]);
  assert.deepEqual(await run(napiGenericFailure), [true, 1]);
});
