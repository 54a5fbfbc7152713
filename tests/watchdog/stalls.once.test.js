'use strict';
const assert = require('node:assert/strict');
const { once } = require('node:events');
const test = require('node:test');
const { setTimeout: sleep } = require('node:timers/promises');
const { system } = require('../support/windows_api.js');
const { isRunning, startWatched, until } = require('./watched.js');

const openProcess = system('kernel32', 'size_t OpenProcess(uint32, int, uint32)');
const closeHandle = system('kernel32', 'int CloseHandle(size_t)');
const duplicateHandle = system('kernel32',
  'int DuplicateHandle(size_t, size_t, int64, _Out_ size_t*, uint32, int, uint32)');
const suspendProcess = system('ntdll', 'int NtSuspendProcess(size_t)');
const resumeProcess = system('ntdll', 'int NtResumeProcess(size_t)');

/** Calls `use` with a handle to a process. */
function withProcess(pid, use) {
  const handle = openProcess(0x1FFFFF /* PROCESS_ALL_ACCESS */, 0, pid);
  try {
    return use(handle);
  } finally {
    closeHandle(handle);
  }
}

/** How many handles another process has open: those that can be duplicated into this one. */
const countHandles = (pid) => withProcess(pid, (process) => {
  let count = 0;
  for (let value = 4; value < 8000; value += 4) {
    const copy = [0];
    if (!duplicateHandle(process, value, -1, copy, 0, 0, 2 /* DUPLICATE_SAME_ACCESS */)) continue;
    closeHandle(copy[0]);
    count += 1;
  }
  return count;
});

test('a blocking wait is captured; a short stall, a debugger and sleep are not; a killed watcher is replaced', async (t) => {
  const watched = await startWatched(t, { thresholdMs: 1000 });
  const watcher = await watched.order('pid');
  await watched.order('stall', { ms: 500 });
  await watched.order('openInspector');
  await sleep(300);
  await watched.order('stall', { ms: 1300 });
  await watched.order('closeInspector');
  await sleep(300);
  // Like sleep of the machine: neither of the two runs.
  withProcess(watcher, suspendProcess);
  await watched.order('stall', { ms: 1300 });
  withProcess(watcher, resumeProcess);
  await sleep(300);
  await watched.order('stall', { waitMs: 100, untilFiles: 2 });
  assert.equal((await watched.next('jank')).late, false);
  assert.deepEqual([watched.files().length, watched.said], [2, []]);

  process.kill(watcher);
  assert.equal((await watched.next('error')).code, 'ERR_WATCHER_ENDED');
  await until(async () => (await watched.order('pid')) !== null);
  const replacement = await watched.order('pid');
  assert.notEqual(replacement, watcher);
  await watched.order('stall', { waitMs: 100, untilFiles: 4 });
  assert.equal((await watched.next('jank')).late, false);

  // Nothing but the watchdog is left to keep it alive.
  watched.child.disconnect();
  assert.deepEqual(await once(watched.child, 'exit'), [0, null]);
  await until(() => !isRunning(replacement));
});

test('fifty stalls in a row leak nothing; late traces are marked; captures are limited; stop() ends it', async (t) => {
  const watched = await startWatched(t, { thresholdMs: 100, maxCapturesPerHour: 3 });
  const watcher = await watched.order('pid');
  await watched.order('stall', { untilFiles: 2 });
  await watched.next('jank');
  const handles = countHandles(watcher);
  const isLimited = () => watched.said.some(({ error }) => error);
  for (let stalls = 0; stalls < 50 || !isLimited(); stalls += 1) {
    await watched.order('stall', { ms: 150 });
    await sleep(20);
  }
  const janks = [await watched.next('jank'), await watched.next('jank')];
  assert.ok(janks.some(({ late, duration }) => late && duration >= 100 && duration < 1000), JSON.stringify(janks));
  assert.equal((await watched.next('error')).code, 'ERR_CAPTURE_LIMIT');
  assert.equal(await watched.order('pid'), watcher);
  assert.equal(watched.files().length, 6);
  assert.ok(countHandles(watcher) <= handles, `${handles} handles before, ${countHandles(watcher)} after`);
  await watched.order('stop');
  assert.equal(isRunning(watcher), false);
});
