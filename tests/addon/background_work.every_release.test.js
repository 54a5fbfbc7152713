'use strict';
const { createHook } = require('node:async_hooks');
const {
  assert, captureArgs, inTime, koffi, modulePath, runScript, scriptedSystem, test, until,
} = require('../support');

test('an asynchronous function names its thread and its async resource, and calls back once and later', async (t) => {
  const system = scriptedSystem(t);
  const thisThread = 2n ** 64n - 2n;
  const threads = [];
  const setName = system.callback('SetThreadDescription', (real, thread, name) => {
    threads.push([koffi.address(thread), name]);
    return 0;
  });
  system.play('GetProcAddress', (real, library, name) => (
    name === 'SetThreadDescription' ? setName : real(library, name)));
  system.fail('LoadLibraryW'); // A result that reports a failure is enough here.
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
    const received = [];
    let returned = 'nothing';
    await inTime('the callback', new Promise((resolve) => {
      returned = system.util[start](...args, function callback(...rest) {
        received.push([this, rest.length, returned]);
        setTimeout(resolve, 50);
      });
    }));
    hook.disable();
    assert.deepEqual(received, [[undefined, 1, undefined]], 'this, number of arguments, returned value');
    assert.deepEqual(threads.splice(0), [[thisThread, thread]]);
    assert.ok(resources.includes(resource), resources.join());
  }
  system.util.initGpuUsage();
  await until(() => threads.length > 0);
  assert.deepEqual(threads, [[thisThread, 'InitGpuUsage']]);
});

test('an exception from a callback becomes a warning of Node.js, and the call leaks no memory', async (t) => {
  const system = scriptedSystem(t);
  const warnings = [];
  process.removeAllListeners('warning').on('warning', ({ code }) => warnings.push(code));
  const throwing = () => inTime('the callback', new Promise((resolve) => {
    system.util.enumProcessList(() => {
      setTimeout(resolve, 5);
      throw new Error('expected');
    });
  }));
  const balance = () => system.count('malloc') - system.count('free');
  await throwing();
  const before = balance();
  for (let turn = 0; turn < 20; ++turn) await throwing();
  assert.ok(balance() - before < 10);
  assert.ok(warnings.includes('DEP0168'), warnings.join());
});

test('a process ends although there was no memory left to deliver a result', async () => {
  assert.deepEqual(await runScript(`
    const system = require(${JSON.stringify(require.resolve('../support'))}).scriptedSystem({ after() {} });
    system.hold('LoadLibraryExW');
    system.util.getGpuUsage(1, 2, print);
    await system.held('LoadLibraryExW');
    system.fail('malloc', { nth: 1 }); // From here on, the first sample takes no memory for anything else.
    system.restore('LoadLibraryExW');`), []);
});

// The main thread does not load the module here. If the module did not pin itself in memory, Node.js would unload it
// when the last script worker that uses it ends.
test('a process survives 40 script workers that end at any moment of their calls', async () => {
  assert.deepEqual(await runScript(`
    const { Worker } = require('node:worker_threads');
    const shared = { file: ${JSON.stringify(modulePath)}, args: ${JSON.stringify(captureArgs())} };
    const source = \`
      const { parentPort, workerData: { file, args, way } } = require('node:worker_threads');
      const util = require(file);
      const started = () => parentPort.postMessage('started');
      util.captureNativeJank(args, () => {});
      util.initGpuUsage();
      util.getGpuUsage(process.pid, 0, () => {});
      util.enumProcessList(() => {
        if (way === 1) process.exit();
        if (way === 2) for (started();;);
      });
      if (way > 2) started();
      // The script worker still calls the module after its end has begun. Then every Node-API call of a handler fails.
      while (way === 3) {
        try { util.enumProcessList(); } catch {} try { util.removeOldVersion(1, 2); } catch {}
      }
      setInterval(() => {}, 1000);\`;
    let [begun, done] = [0, 0];
    const runWorkers = async () => {
      while (begun < 40) {
        const way = ++begun % 8;
        const worker = new Worker(source, { eval: true, workerData: { ...shared, way } });
        // The script worker is terminated while it starts or loads the module.
        if (way === 0) setTimeout(() => worker.terminate(), begun % 50);
        worker.on('message', () => { ++done; worker.terminate(); });
        await new Promise((resolve) => { worker.on('exit', resolve); });
      }
    };
    await Promise.all(Array.from({ length: 3 }, runWorkers));
    print(done);
    require(shared.file).enumProcessList(({ list }) => print(list.length > 0));`, { module: null }), [30, true]);
});
