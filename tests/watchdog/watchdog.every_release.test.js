'use strict';
const { Session } = require('node:inspector');
const { mainThreadId, readReport, readStalls, watchForJank } = require('borvanta-util/watchdog');
const { LoopClock } = require('../../lib/watchdog/loop_clock.js');
const {
  assert, block, fs, path, runScript, startScript, temporaryFolder, test, until, windows,
} = require('../support');
const { isRunning, watchThisProcess } = require('./watch_this_process.js');

test('mainThreadId gives the result of GetCurrentThreadId, and does not disturb the host\'s own tracing', async () => {
  const host = new Session();
  host.connect();
  const events = [];
  host.on('NodeTracing.dataCollected', ({ params }) => { events.push(...params.value); });
  host.post('NodeTracing.start', { traceConfig: { includedCategories: ['node.fs.sync'] } });
  const id = mainThreadId();
  fs.accessSync('.');
  assert.equal(await id, windows('kernel32', 'uint32 GetCurrentThreadId()')());
  fs.accessSync('.');
  host.post('NodeTracing.stop');
  assert.equal(events.filter(({ name, ph }) => name === 'fs.sync.access' && ph === 'B').length, 2);
});

test('watchForJank throws an error that names the wrong option, before anything starts', () => {
  const good = { janksDir: path.resolve('never'), onJank: () => {} };
  for (const [property, value, code = 'ERR_INVALID_ARG_TYPE'] of [['janksDir'], ['onJank', {}], ['onError', null],
    ['living', true], ['userId', 5], ['env', 'A=B'], ['signal', {}], ['janksDir', '', 'ERR_INVALID_ARG_VALUE'],
    ['thresholdMs', 99, 'ERR_OUT_OF_RANGE'], ['threadId', NaN, 'ERR_OUT_OF_RANGE'],
    ['maxCapturesPerHour', 0, 'ERR_OUT_OF_RANGE']]) {
    const error = { code, message: new RegExp(`"options.${property}[."]`) };
    assert.throws(() => watchForJank({ ...good, [property]: value }), error);
  }
  assert.throws(() => watchForJank(), { message: /"options"/ });
  assert.equal(fs.existsSync(good.janksDir), false);
});

test('a busy loop is captured and its report is true; readReport rejects a file that is no whole report', async (t) => {
  const { watch, janks, errors, files } = watchThisProcess(t, { userId: 'me', thresholdMs: 500, living: () => false });
  await watch.ready;
  const uptime = process.uptime();
  const start = block((ms) => ms % 50 === 0 && files().length >= 2, 0);
  const end = Date.now();
  await until(() => janks.length);
  const [{ report, reportPath, dumpPath, since, stallMs, frozenAfterMs, late }] = janks;
  assert.deepEqual([janks.length, errors, late, report.user_id, report.living], [1, [], false, 'me', false]);
  const frozenMs = fs.statSync(dumpPath).birthtimeMs - start;
  const near = (ms, expected) => assert.ok(Math.abs(ms - expected) < 600, `${ms} ms, not ${expected} ms`);
  near(Date.parse(since), start);
  near(frozenAfterMs, frozenMs);
  near(stallMs, end - start);
  assert.ok(report.duration >= 500 && report.duration <= frozenAfterMs, `${report.duration} ms`);
  assert.ok(report.uptime > uptime && report.uptime < uptime + frozenAfterMs / 1000, `${report.uptime} s`);
  const recordPath = reportPath.replace(/json$/, 'stall');
  assert.deepEqual(files(), [dumpPath, reportPath, recordPath].map((file) => path.basename(file)));

  const rewrite = (changes) => {
    fs.writeFileSync(reportPath, JSON.stringify({ ...report, ...changes }));
    return readReport(reportPath);
  };
  assert.deepEqual((await rewrite({ main_thread_trace: 'a!b.dll!0x1f\r\n<unknown>!0x7ff012345678\r\n' })).frames,
    [{ module: 'a!b.dll', offset: 0x1f }, { module: '<unknown>', offset: 0x7ff012345678 }]);
  for (const wrong of [{ duration: '1' }, { version: undefined }, { main_thread_trace: 'a.dll!0x1f' }]) {
    await assert.rejects(rewrite(wrong), { code: 'ERR_INVALID_REPORT', message: /\.json is not a jank report: "/ });
  }
});

test('what onJank gets is in the folder too, with the functions that wait in the system', async (t) => {
  const { watch, janks, files } = watchThisProcess(t, { thresholdMs: 500 });
  await watch.ready;
  // Long waits, so that the freeze meets a wait and not a look into the folder.
  block(() => files().some((name) => name.endsWith('.stall')), 2500);
  await until(() => janks.length);
  const [{ result, ...jank }] = janks;
  assert.deepEqual(await readStalls(path.dirname(jank.reportPath)), { stalls: [jank], unreadable: [] });
  assert.deepEqual(await readReport(jank.reportPath), jank.report);
  const named = jank.report.frames.filter((frame) => frame.function);
  assert.ok(named.length >= 2 && /^(Nt|Zw)Wait/.test(named[0].function), JSON.stringify(jank.report));
});

const watchSource = `const watch = require('borvanta-util/watchdog').watchForJank({ janksDir: '.', onJank() {} });
  setTimeout(() => {}, 30000).unref(); await new Promise(setImmediate); print(watch.pid);`;

test('the watcher ends with the process that it watches, and does not keep that process alive', async () => {
  const [ended] = await runScript(watchSource);
  const killed = startScript(`${watchSource} setTimeout(() => {}, 30000);`);
  const pid = await killed.next();
  await killed.kill();
  assert.ok(ended && pid);
  await until(async () => !await isRunning(ended) && !await isRunning(pid));
});

test('a folder has one watch; ready and stop() settle for every watcher; an abort stops the watch', async (t) => {
  const blocks = path.join(temporaryFolder(t), 'blocks.js');
  fs.writeFileSync(blocks, 'Atomics.wait(new Int32Array(new SharedArrayBuffer(4)), 0, 0);');
  const ended = { code: 'ERR_WATCHER_ENDED' };
  const aborter = new AbortController();
  const silent = watchThisProcess(t, { env: { NODE_OPTIONS: `--require=${JSON.stringify(blocks)}` },
    startTimeoutMs: 1000, signal: aborter.signal });
  const second = { janksDir: silent.janksDir.toUpperCase(), onJank() {} };
  assert.throws(() => watchForJank(second), { code: 'ERR_FOLDER_IN_USE' });
  await until(() => silent.watch.pid);
  const { pid } = silent.watch;
  await assert.rejects(silent.watch.ready, { ...ended, message: /it was not ready after 1000 ms\): it is not/ });
  assert.deepEqual([silent.errors.length, await isRunning(pid)], [1, false]);
  aborter.abort();

  const broken = watchThisProcess(t, { env: { NODE_OPTIONS: '--no-such-option' }, threadId: 1 });
  await until(() => broken.errors.some(({ code }) => code === 'ERR_WRONG_THREAD'));
  await until(() => broken.errors.some(({ message }) => message.includes('no-such-option')));
  broken.watch.stop();
  await assert.rejects(broken.watch.ready, ended);
  const again = watchThisProcess(t, { janksDir: silent.janksDir, signal: aborter.signal });
  await assert.rejects(again.watch.ready, ended);
  await again.watch.stop();
});

test('a sleep of the machine before the first heartbeats is no stall', () => {
  const clock = new LoopClock({ thresholdMs: 1000, beatMs: 100 }, 0);
  clock.beat(1, false);
  assert.deepEqual([clock.tick(10_000), clock.tick(10_400), clock.tick(10_800), clock.tick(11_200)], [0, 0, 0, 1100]);
});
