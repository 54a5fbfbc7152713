'use strict';
const assert = require('node:assert/strict');
const { createHook } = require('node:async_hooks');
const test = require('node:test');
const { setTimeout: wait } = require('node:timers/promises');
const { scriptedSystem } = require('../support/scripted_system.js');
const { captureArgs } = require('../support/stall_target.js');
const { koffi } = require('../support/windows_api.js');
const { call, modulePath, runScript } = require('../support/windows.js');

/** Gives `address` to the module when it looks SetThreadDescription up. */
const playNaming = (system, address) => system.play('GetProcAddress', (real, library, name) =>
  (name === 'SetThreadDescription' ? address : real(library, name)));

test('each calls back once, later, with one argument and no receiver, from a thread and a resource of its name', async (t) => {
  const system = scriptedSystem(t);
  const threads = [];
  playNaming(system, system.callback('SetThreadDescription', (real, thread, name) => {
    threads.push([koffi.address(thread), name]);
    return 0;
  }, 0n));
  const thisThread = 2n ** 64n - 2n;
  system.fail('LoadLibraryW'); // The functions need not get far.
  for (const [start, args, resource, thread] of [
    ['enumProcessList', [], 'enum_process_list_callback', 'EnumProcessList'],
    ['getGpuUsage', [1, 2], 'get_gpu_process_usage_callback', 'GetGpuUsage'],
    ['captureNativeJank', [captureArgs({ processId: 0xFFFFFFF0 })], 'capture_native_jank_callback', 'CaptureJank'],
  ]) {
    for (const bad of [undefined, null, 5, 'f', {}, [() => {}]]) {
      assert.throws(() => system.util[start](...args, bad), { name: 'TypeError', message: 'Invalid arg' });
    }
    const resources = [];
    const hook = createHook({ init: (_, type) => resources.push(type) }).enable();
    const heard = [];
    let returned = 'nothing';
    returned = system.util[start](...args, function callback(...rest) { heard.push([this, rest.length, returned]); });
    for (let turn = 0; heard.length === 0 && turn < 200; ++turn) await wait(10);
    await wait(50);
    hook.disable();
    assert.deepEqual(heard, [[undefined, 1, undefined]]);
    assert.deepEqual(threads.splice(0), [[thisThread, thread]]);
    assert.ok(resources.includes(resource), resources.join());
  }
  system.util.initGpuUsage();
  for (let turn = 0; threads.length === 0 && turn < 200; ++turn) await wait(10);
  assert.deepEqual(threads, [[thisThread, 'InitGpuUsage']]);
});

test('on a system without thread descriptions a thread raises its name, and goes on', async (t) => {
  const system = scriptedSystem(t);
  playNaming(system, null);
  const raised = [];
  system.play('RaiseException', (real, code, flags, count, info) => {
    const [type, name, threadAndFlags] = koffi.decode(info, 'uint64', 3);
    raised.push([code, flags, count, Number(type) % 2 ** 32, koffi.decode(BigInt(name), 'char', -1), threadAndFlags < 2 ** 32]);
  });
  await call(system.util.enumProcessList);
  assert.deepEqual(raised, [[0x406D1388, 0, 3, 0x1000, 'EnumProcessList', true]]);
  system.restore('RaiseException');
  assert.ok((await call(system.util.enumProcessList)).list.length > 0);
});

test('an exception from a callback goes to Node.js, and the call leaves nothing behind', async (t) => {
  const run = (nodeOptions) => {
    process.env.NODE_OPTIONS = nodeOptions;
    const printed = runScript(`
      process.on('warning', ({ code }) => print(code));
      process.on('uncaughtException', ({ message }) => print(message));
      util.enumProcessList(() => {
        setTimeout(() => util.enumProcessList(({ list }) => print(list.length > 0)), 100);
        throw new Error('from the callback');
      });`);
    delete process.env.NODE_OPTIONS;
    return printed;
  };
  assert.deepEqual(await run(''), ['DEP0168', true]);
  assert.deepEqual(await run('--force-node-api-uncaught-exceptions-policy'), ['from the callback', true]);

  const system = scriptedSystem(t);
  process.removeAllListeners('warning');
  const balance = () => system.count('malloc') - system.count('free');
  const callThrowing = () => new Promise((resolve) => {
    system.util.enumProcessList(() => {
      setTimeout(resolve, 5);
      throw new Error('expected');
    });
  });
  await callThrowing();
  const before = balance();
  for (let turn = 0; turn < 20; ++turn) await callThrowing();
  assert.ok(balance() - before < 10, `${balance() - before}`);
});

test('a process survives script workers that end inside a callback', async () => {
  assert.deepEqual(await runScript(`
    const { Worker } = require('node:worker_threads');
    const run = (callback) => new Promise((resolve) => {
      const worker = new Worker(\`const { parentPort } = require('node:worker_threads');
        require(${JSON.stringify(JSON.stringify(modulePath)).slice(1, -1)}).enumProcessList(() => { \${callback} });\`, { eval: true });
      worker.on('message', () => worker.terminate());
      worker.on('exit', resolve);
    });
    print(await run('process.exit(7);'));
    print(await run("parentPort.postMessage('looping'); for (;;);"));
    util.enumProcessList(({ list }) => print(list.length > 0));`), [7, 1, true]);
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
