'use strict';
const assert = require('node:assert/strict');
const { createHook } = require('node:async_hooks');
const test = require('node:test');
const { load, loadHelper, modulePath, runScript } = require('../support/windows.js');
const { captureArgs } = require('../support/stall_target.js');

const util = load();

test('each calls back once, later, with one argument and no receiver, from a thread and a resource of its name', async () => {
  const helper = loadHelper();
  helper.recordThreadNames();
  for (const [start, args, resource, thread] of [
    [util.enumProcessList, [], 'enum_process_list_callback', 'EnumProcessList'],
    [util.getGpuUsage, [1, 2], 'get_gpu_process_usage_callback', 'GetGpuUsage'],
    [util.captureNativeJank, [captureArgs({ processId: 0xFFFFFFF0 })], 'capture_native_jank_callback', 'CaptureJank'],
  ]) {
    const resources = [];
    const hook = createHook({ init: (_, type) => resources.push(type) }).enable();
    const heard = [];
    let returned = 'nothing';
    await new Promise((resolve) => {
      returned = start(...args, function callback(...rest) {
        heard.push([this, rest.length, returned]);
        setTimeout(resolve, 100);
      });
    });
    hook.disable();
    assert.deepEqual(heard, [[undefined, 1, undefined]]);
    assert.ok(resources.includes(resource), resources.join());
    assert.equal(helper.threadNames().at(-1), thread);
  }
  util.initGpuUsage();
  while (helper.threadNames().at(-1) !== 'InitGpuUsage') await new Promise((resolve) => { setTimeout(resolve, 10); });
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
      util.captureNativeJank({ processId: 0, threadId: 0, jankType: '', janksDir: 'C:\\\\\\\\', userId: '', deviceId: '',
        version: '', systemVersion: '', logFilename: '', living: false, uptime: 0, duration: 0 }, () => {});
      util.initGpuUsage();
      util.getGpuUsage(process.pid, 0, () => {});
      util.enumProcessList(() => {});
      require('node:worker_threads').parentPort.postMessage('started');
      // Every eighth worker calls on and on: once its end has begun, Node-API refuses all that a handler still tries,
      // throwing a script error among it.
      while (require('node:worker_threads').workerData) {
        try { util.enumProcessList(); } catch {} try { util.removeOldVersion(1, 2); } catch {}
      }
      setInterval(() => {}, 1000);\`;
    let started = 0;
    let begun = 0;
    const runWorkers = async () => {
      while (begun < 200) {
        // Every fourth is not waited for, and ends while it starts or loads the module.
        const patient = ++begun % 4 !== 0;
        const worker = new Worker(source, { eval: true, workerData: begun % 8 === 1 });
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
