'use strict';
const inspector = require('node:inspector');
const net = require('node:net');
const { atMostPerHour } = require('../../lib/watchdog/at_most_per_hour.js');
const { stallHandler } = require('../../lib/watchdog/handle_stall.js');
const { Stall } = require('../../lib/watchdog/stall.js');
const {
  assert, block, captureArgs, fs, path, sleep, startStallTarget, temporaryFolder, test, until, windows,
} = require('../support');
const { isRunning, watchThisProcess } = require('./watch_this_process.js');

const openProcess = windows('kernel32', 'size_t OpenProcess(uint32, int, uint32)');
const closeHandle = windows('kernel32', 'int CloseHandle(size_t)');
const duplicateHandle = windows('kernel32',
  'int DuplicateHandle(size_t, size_t, int64, _Out_ size_t*, uint32, int, uint32)');
// These functions take the handle only. But a system call of Wine 10 reads six arguments from the stack, and the end of
// koffi's stack lies behind the declared ones: with one, the read fails.
const ofProcess = (name) => {
  const callSystem = windows('ntdll', `int ${name}(size_t, size_t, size_t, size_t, size_t, size_t)`);
  return (handle) => callSystem(handle, 0, 0, 0, 0, 0);
};
const suspendProcess = ofProcess('NtSuspendProcess');
const resumeProcess = ofProcess('NtResumeProcess');

/** How many handles a process has open, counted by trying to duplicate each. */
const countHandles = (handle) => Array.from({ length: 2000 }, (_, index) => 4 * index + 4).filter((value) => {
  const copy = [0];
  return duplicateHandle(handle, value, -1, copy, 0, 0, 2 /* DUPLICATE_SAME_ACCESS */) && closeHandle(copy[0]);
}).length;

const open = (pid) => openProcess(0x1FFFFF /* PROCESS_ALL_ACCESS */, 0, pid);

test('a blocking wait is captured; a short stall, a debugged stall and a sleep of the machine are not', async (t) => {
  const { watch, janks, errors, files } = watchThisProcess(t, { thresholdMs: 1000 });
  await watch.ready;
  block((ms) => ms >= 500);
  inspector.open(0);
  await sleep(300);
  block((ms) => ms >= 1300);
  inspector.close();
  await sleep(300);
  // As if the machine slept: neither this process nor the watcher runs.
  const watcher = open(watch.pid);
  suspendProcess(watcher);
  block((ms) => ms >= 1300);
  resumeProcess(watcher);
  await sleep(300);
  const uptime = process.uptime();
  block(() => files().length >= 2, 1000);
  await until(() => janks.length);
  const [{ report, late }] = janks;
  assert.deepEqual([janks.length, late, errors, files().length], [1, false, [], 3]);
  assert.ok(report.uptime > uptime && report.frames.some(({ module }) => /^node/i.test(module)));
});

test('a killed watcher is replaced; every stall is told; late traces are marked; captures are limited', async (t) => {
  const { watch, janks, errors, files, janksDir } = watchThisProcess(t, { thresholdMs: 500, maxCapturesPerHour: 4 });
  await until(() => watch.pid);
  process.kill(watch.pid);
  await until(() => errors.length && watch.pid);
  assert.equal(errors.shift().code, 'ERR_WATCHER_ENDED');
  const watcher = open(watch.pid);
  block(() => files().length >= 2);
  const handles = countHandles(watcher);
  await until(() => janks.length);
  assert.equal(janks[0].late, false);
  let removed;
  // The watcher makes the folder just before a capture: so these stalls end before the freeze, if this thread runs.
  while (!janks.some(({ late }) => late)) {
    removed = janks.length;
    await sleep(1000);
    fs.rmSync(janksDir, { recursive: true });
    block(() => fs.existsSync(janksDir), 2);
    await until(() => janks.length > removed);
  }
  let stalls = janks.length;
  for (; !errors.some(({ code }) => code === 'ERR_CAPTURE_LIMIT'); stalls += 1) {
    block((ms) => ms >= 750 + 20 * stalls, 2);
    await sleep(50);
  }
  // The freeze of a late capture is not counted, so a stall that it falls into can be too short to be told.
  await until(() => janks.length + errors.length >= stalls - 3);
  assert.deepEqual([janks.length, files().length], [4, 3 * (4 - removed)]);
  // A busy machine adds short stalls of its own.
  assert.ok(errors.every(({ code, stallMs }) => /^ERR_(STALL_OVER|CAPTURE_LIMIT)$/.test(code) && stallMs >= 450));
  assert.ok(errors.some(({ stallMs }) => stallMs >= 700));
  assert.ok(handles > 20 && countHandles(watcher) < handles + 10);
  const { pid } = watch;
  await watch.stop();
  assert.equal(await isRunning(pid), false);
});

test('nothing asks for the script stack from the call of a capture until the thread is frozen', async (t) => {
  const { kill, ...target } = await startStallTarget(500); // To walk so many frames takes a while.
  t.after(kill);
  const janksDir = temporaryFolder(t);
  const stackPipe = `\\\\.\\pipe\\borvanta-test-${process.pid}`;
  const [asked, sent] = [[], []];
  const server = net.createServer((socket) => socket.on('error', () => {}).on('data', (question) => {
    asked.push([String(question), fs.readdirSync(janksDir).length]);
    if (asked.length === 2) socket.write('\n');
    // The first time so late that a record without it has been written before.
    const delay = sent.some(({ jank }) => jank) ? 0 : 1000;
    if (asked.length === 3) setTimeout(() => socket.write('{"scriptFrames":["a frame"]}\n'), delay);
  })).listen(stackPipe);
  t.after(() => server.close());
  const handle = stallHandler({ ...captureArgs({ janksDir }), ...target, stackPipe, captureAgesMs: [],
    maxCapturesPerHour: 1, thresholdMs: 1000 }, (message) => sent.push(message));
  const stallOnce = async () => {
    asked.length = 0;
    const stall = new Stall({ noticedMs: 1000, lastBeat: { number: 7, uptime: 1, living: true }, silentMs: 1000 });
    const handled = handle(stall);
    await until(() => asked.length === 3);
    // A client that is killed now must not lose the stack.
    await until(() => fs.readdirSync(janksDir).some((name) => name.endsWith('.stall')
      && fs.readFileSync(path.join(janksDir, name), 'utf8').includes('a frame')), 'the frame in the record');
    stall.turn(2000);
    await handled;
    return sent.at(-1);
  };
  const { jank } = await stallOnce();
  // The last question came when there was a dump and no report yet.
  assert.deepEqual(asked, [['7', 0], ['withdraw', 0], ['7', 1]]);
  const { error } = await stallOnce(); // There is no freeze, because there may be no second capture.
  assert.equal(error.code, 'ERR_CAPTURE_LIMIT');
  for (const told of [jank, error]) assert.deepEqual([told.scriptFrames, told.scriptFramesLate], [['a frame'], true]);
});

test('stop() lets a capture that is under way come to its end', async (t) => {
  const { watch, files } = watchThisProcess(t, { thresholdMs: 500 });
  await watch.ready;
  // The thread has just been let go: the watcher has not written the record yet.
  block(() => files().some((name) => name.endsWith('.dmp')), 1);
  await watch.stop();
  assert.deepEqual(files().map((name) => name.split('.').at(-1)).sort(), ['dmp', 'json', 'stall']);
});

test('captures are allowed again after an hour', (t) => {
  let now = 0;
  t.mock.method(performance, 'now', () => now);
  const mayCapture = atMostPerHour(2, [60_000]);
  const at = (minutes) => { now = minutes * 60_000; return mayCapture(); };
  assert.deepEqual([0, 1, 58, 60, 61, 62].map(at), [true, false, false, true, true, false]);
});
