'use strict';
const assert = require('node:assert/strict');
const fs = require('node:fs');
const { Session } = require('node:inspector');
const os = require('node:os');
const path = require('node:path');
const test = require('node:test');
const { Worker } = require('node:worker_threads');
const { mainThreadId, readReport, watchForJank } = require('borvanta-util/watchdog');
const { system } = require('../support/windows_api.js');
const { isRunning, startWatched, until } = require('./watched.js');

const getCurrentThreadId = system('kernel32', 'uint32 GetCurrentThreadId()');

test('mainThreadId is what GetCurrentThreadId returns, and the host can trace meanwhile', async () => {
  const host = new Session();
  host.connect();
  const events = [];
  host.on('NodeTracing.dataCollected', ({ params }) => { events.push(...params.value); });
  host.post('NodeTracing.start', { traceConfig: { includedCategories: ['node.fs.sync'] } });
  for (let round = 0; round < 3; round += 1) {
    fs.accessSync('.');
    const id = mainThreadId();
    fs.accessSync('.');
    assert.equal(await id, getCurrentThreadId());
  }
  fs.accessSync('.');
  host.post('NodeTracing.stop');
  assert.equal(events.filter(({ name, ph }) => name === 'fs.sync.access' && ph === 'B').length, 7);
});

test('in a worker mainThreadId and watchForJank say that they are for the main thread', async () => {
  const worker = new Worker(`const { mainThreadId, watchForJank } = require('borvanta-util/watchdog');
    const said = [];
    try { watchForJank({}); } catch (error) { said.push(error.code); }
    mainThreadId().catch((error) => require('node:worker_threads').parentPort.postMessage([...said, error.code]));`,
  { eval: true });
  const said = await new Promise((resolve) => { worker.once('message', resolve); });
  assert.deepEqual(said, ['ERR_WORKER_UNSUPPORTED_OPERATION', 'ERR_WORKER_UNSUPPORTED_OPERATION']);
});

test('watchForJank names the option that is wrong before anything starts', () => {
  const good = { janksDir: path.join(os.tmpdir(), 'borvanta-never'), onJank: () => {} };
  const type = (property, value) => [property, value, { name: 'TypeError', code: 'ERR_INVALID_ARG_TYPE' }];
  const range = (property, value) => [property, value, { name: 'RangeError', code: 'ERR_OUT_OF_RANGE' }];
  for (const [property, value, error] of [type('janksDir'), type('onJank', {}), type('onError', null),
    type('living', true), type('userId', 5), type('systemVersion', null), type('env', 'A=B'), type('threadId', '5'),
    range('thresholdMs', 99), range('thresholdMs', NaN), range('maxCapturesPerHour', 0)]) {
    assert.throws(() => watchForJank({ ...good, [property]: value }),
      { ...error, message: new RegExp(`"options.${property}"`) });
  }
  assert.throws(() => watchForJank(), { code: 'ERR_INVALID_ARG_TYPE', message: /"options"/ });
  assert.equal(fs.existsSync(good.janksDir), false);
});

test('readReport returns a report with its frames, and refuses what is none', async (t) => {
  const file = path.join(fs.mkdtempSync(path.join(os.tmpdir(), 'borvanta-')), 'report.json');
  t.after(() => fs.rmSync(path.dirname(file), { recursive: true }));
  const report = { device_id: '', dmp_file: 'a.dmp', duration: 1, jank_type: '', living: true, log_file: '',
    main_thread_trace: 'a!b.dll!0x1f\r\n<unknown>!0x7ff012345678\r\n', system_version: '', uptime: null, user_id: '', version: '' };
  const read = (value) => {
    fs.writeFileSync(file, JSON.stringify(value));
    return readReport(file);
  };
  assert.deepEqual(await read(report), { ...report,
    frames: [{ module: 'a!b.dll', offset: 0x1f }, { module: '<unknown>', offset: 0x7ff012345678 }] });
  assert.deepEqual((await read({ ...report, main_thread_trace: '' })).frames, []);
  for (const wrong of [null, [], { ...report, duration: '1' }, { ...report, version: undefined },
    { ...report, main_thread_trace: 'a.dll!0x1f' }, { ...report, main_thread_trace: 'a.dll\r\n' }]) {
    await assert.rejects(read(wrong), { code: 'ERR_INVALID_REPORT', message: /report\.json is not a jank report: / });
  }
  await assert.rejects(readReport(path.join(file, '..', 'none')), { code: 'ENOENT' });
});

test('a busy loop is captured and described truthfully; the watcher ends with the process that it watches', async (t) => {
  const watched = await startWatched(t, { userId: 'somebody', thresholdMs: 500 });
  const watcher = await watched.order('pid');
  const { start, gaps, uptime } = await watched.order('stall', { untilFiles: 2 });
  const { report, reportPath, ...jank } = await watched.next('jank');
  assert.deepEqual(watched.said, []);
  assert.equal(jank.late, false);
  const frozenAt = start + jank.duration;
  assert.ok(gaps.some(([from, to]) => frozenAt > from - 300 && frozenAt < to + 50), `${frozenAt - start}, ${gaps}`);
  assert.ok(report.duration >= 500 && report.duration <= jank.duration, `${report.duration}`);
  assert.ok(report.uptime < uptime && report.uptime > uptime - (Date.now() - start) / 1000, `${report.uptime}`);
  assert.deepEqual([report.user_id, report.living], ['somebody', true]);
  assert.ok(report.frames.some(({ module }) => /^node/i.test(module)));
  assert.deepEqual(watched.files(), [path.basename(jank.dumpPath), path.basename(reportPath)]);
  assert.deepEqual(await readReport(reportPath), report);
  watched.child.kill('SIGKILL');
  await until(() => !isRunning(watcher));
});
