'use strict';
const { assert, captureArgs, inTime, koffi, sleep, test } = require('../support');
const { declarations } = require('../support/declarations.js');
const { handles, ScriptedCapture } = require('./scripted_capture.js');

const { process: target, thread, dump, report } = handles;
const name = '2024-03-05 14-07-09.dmp';
const trace = 'a.dll!0xabc\r\nc.exe!0x10\r\n<unknown>!0x99\r\n';

/** The expected report: the arguments that go into it, the dump's name and the stack trace, sorted by member name. */
function reportOf({ processId, threadId, janksDir, logFilename, ...others } = captureArgs(), stack = trace) {
  const members = Object.entries(others)
    .map(([key, value]) => [key.replace(/[A-Z]/g, (letter) => `_${letter.toLowerCase()}`), value]);
  members.push(['log_file', logFilename], ['dmp_file', name], ['main_thread_trace', stack]);
  return JSON.stringify(Object.fromEntries(members.sort()));
}

test('a missing property, or one of a wrong type, throws before anything starts', (t) => {
  const { system } = new ScriptedCapture(t);
  system.count('_beginthreadex');
  const good = captureArgs();
  const wrong = Object.entries(good).flatMap(([key, value]) => (
    [undefined, null, 5, 'text', true, 5n, {}, Object(value)].filter((other) => typeof other !== typeof value)
      .map((other) => [{ ...good, [key]: other }, () => {}])));
  for (const args of [...wrong, [], [good], [good, {}], [undefined, () => {}], [null, () => {}], ['a', () => {}]]) {
    assert.throws(() => system.util.captureNativeJank(...args), { name: 'TypeError', message: 'Invalid arg' });
  }
  assert.equal(system.count('_beginthreadex'), 0);
});

test('properties are read in order, for their types and again for their values, and go into the report', async (t) => {
  const capture = new ScriptedCapture(t);
  const args = { processId: 5 + 2 ** 32, threadId: -16.9, userId: '用户 😀\ud800', version: '\0"\\', duration: -1 };
  const reads = [];
  const { jsonFilename } = await capture.run(args, (all) => new Proxy(() => {}, {
    get: (object, key) => {
      reads.push(key);
      return key === 'living' && reads.length > Object.keys(all).length ? 'converted to true' : all[key];
    },
  }));
  assert.deepEqual(reads, [...Object.keys(captureArgs()), ...Object.keys(captureArgs())]);
  assert.equal(jsonFilename, `${name}-4294967280.json`);
  assert.equal(capture.argument('OpenProcess', 3), 5);
  const converted = captureArgs({ ...args, userId: '用户 😀\ufffd', living: true, duration: 4294967295 });
  assert.equal(capture.argument('WriteFile', 2), reportOf(converted));
  await capture.run({ uptime: 12 });
  assert.match(capture.argument('WriteFile', 2), /"uptime":12\.0,/);
  assert.equal((await capture.run({ janksDir: 'D:\\a\0\\' })).errorText, 'Failed to create json file');
  assert.ok(!capture.order.includes('CreateFileW'), 'a path with a NUL, which Windows would cut, is not opened');
});

const create = (file) => ['CreateFileW', captureArgs().janksDir + file, 0x40000000, 2, null, 2, 0x80, null];
const steps = [
  ['OpenProcess', 0x1FFFFF, 0, 5], ['Lock'], ['SymInitialize', target, null, 1], ['Unlock'],
  ['OpenThread', 0x1FFFFF, 0, 6], ['Lock'], ['SuspendThread', thread],
  create(name), ['MiniDumpWriteDump', target, 5, dump, 0x1920, '06'.padEnd(32, '0'), null, null], ['close dump'],
  ['EnumerateLoadedModulesW64', target], ['GetThreadContext', thread, 0x10001F],
  ['StackWalk64', 0x8664, target, thread, [[0x7000n, 3], [0x6000n, 3], [0x5000n, 3]], true, null, 19n, 20n, null],
  ['ResumeThread', thread], ['Unlock'],
  create(`${name}-6.json`), ['WriteFile', report, reportOf(), reportOf().length, null, null], ['close report'],
  ['close thread'], ['Lock'], ['SymCleanup', target], ['Unlock'], ['close process'],
];
const whole = steps.map(([step]) => step).join(', ');
const without = (...names) => names.reduce((order, step) => order.replace(`${step}, `, ''), whole);
const opened = 'OpenProcess, Lock, SymInitialize, Unlock, OpenThread';
const closed = 'Lock, SymCleanup, Unlock, close process';

const captured = { dumpJankResult: { succ: true }, captureStackResult: { stackTrace: trace } };
const full = { jsonFilename: `${name}-6.json`, ...captured };
const nothing = (errorText) => ({ dumpJankResult: { succ: false }, captureStackResult: {}, errorText });
const noDump = (errorText) => ({ ...full, dumpJankResult: { succ: false, errorText } });
const noTrace = (errorText) => ({ ...full, captureStackResult: { errorText } });
const noReport = (errorText) => ({ ...captured, errorText });

test('a capture takes its steps in order, also if the thread was suspended before', async (t) => {
  const capture = new ScriptedCapture(t);
  assert.deepEqual(Object.entries(await capture.run()), Object.entries(full));
  assert.deepEqual(capture.steps, steps);
});

const failed = 0xFFFFFFFF;
const thisThread = 2n ** 64n - 2n;
const lacking = (order, result, ...names) => names.map((field) => (
  [{ [field]: null }, result('Invalid dbghelp functions'), order]));

for (const [answers, result, order = whole] of [
  [{ OpenProcess: 0n }, nothing('Failed open process'), 'OpenProcess'],
  [{ SymInitialize: ([, process]) => (process === target ? 0 : 1) }, nothing('Failed to init dbghelp'),
    'OpenProcess, Lock, SymInitialize, Unlock, close process'],
  [{ OpenThread: 0n }, nothing('Failed open thread'), `${opened}, ${closed}`],
  [{ GetProcessIdOfThread: 7 }, nothing('Failed open thread'), `${opened}, close thread, ${closed}`],
  [{ OpenThread: thisThread, GetThreadId: null }, nothing('Failed suspend thread'), `${opened}, ${closed}`],
  [{ VirtualAlloc: 0n }, nothing('Failed suspend thread'), `${opened}, close thread, ${closed}`],
  [{ SuspendThread: failed }, nothing('Failed suspend thread'),
    `${opened}, Lock, SuspendThread, Unlock, close thread, ${closed}`],
  [{ ResumeThread: failed }, { ...full, errorText: 'Failed resume thread' }],
  [{ ResumeThread: failed, SymCleanup: 0 }, { ...full, errorText: 'Failed to cleanup dbghelp' }],
  [{ CreateFileW: ([, path]) => (path.endsWith('.dmp') ? -1n : report) }, noDump('Failed to create dump file'),
    without('MiniDumpWriteDump', 'close dump')],
  [{ MiniDumpWriteDump: 0 }, noDump('Failed to write dump')],
  [{ EnumerateLoadedModulesW64: 0 }, noTrace('Failed to enum modules'), without('GetThreadContext', 'StackWalk64')],
  [{ GetThreadContext: 0 }, noTrace('Failed to get thread context'), without('StackWalk64')],
  [{ StackWalk64: 0 }, { ...full, captureStackResult: {} }],
  [{ CreateFileW: ([, path]) => (path.endsWith('.dmp') ? dump : -1n) }, noReport('Failed to create json file'),
    without('WriteFile', 'close report')],
  [{ WriteFile: 0 }, noReport('Failed to write json file')],
  ...lacking('', nothing, 'SymInitialize', 'SymCleanup', 'Lock', 'Unlock'),
  ...lacking(without('CreateFileW', 'MiniDumpWriteDump', 'close dump'), noDump, 'MiniDumpWriteDump'),
  ...lacking(without('EnumerateLoadedModulesW64', 'GetThreadContext', 'StackWalk64'), noTrace,
    'EnumerateLoadedModulesW64', 'StackWalk64', 'SymFunctionTableAccess64', 'SymGetModuleBase64'),
]) {
  test(`if ${Object.keys(answers)} fails, a capture gives the documented result and cleans up`, async (t) => {
    const capture = new ScriptedCapture(t, answers);
    assert.deepEqual(await capture.run(), result);
    assert.equal(capture.order, order);
    if (order.includes('SuspendThread')) assert.equal(capture.heapCalls[1], capture.heapCalls[0]);
    if (!result.jsonFilename) return;
    assert.equal(capture.argument('WriteFile', 2), reportOf(captureArgs(), result.captureStackResult.stackTrace ?? ''));
  });
}

test('a frame has the name of the first module that contains its address, in the ANSI code page', async (t) => {
  const capture = new ScriptedCapture(t);
  capture.system.play('WideCharToMultiByte', (real, page, ...args) => real(page === 0 ? 1252 : page, ...args));
  const long = 'n'.repeat(50_000);
  capture.modules = [['C:\\x\\a.dll', 0x1000, 0x100], ['overlaps.dll', 0x1080, 0x1000], ['C:\\empty.dll', 0x9000, 0],
    ['D:\\😀ä直.dll', 0xA000, 1], ['D:\\ends\\', 0xB000, 1], [`D:\\${long}`, 0xC000, 0xFFFFFFFF], [long, 0, 0],
    ['top.dll', 0xFFFFFFFFFFFFF000n, 0x1000]];
  capture.frames = [0x1000n, 0x10FFn, 0x1100n, 0x9000n, 0xFFFn, 0n, 0xA000n, 0xB000n, 0xC010n, 0xC010n,
    0xFFFFFFFFFFFFFABCn, 0x7FF012345678n];
  const lines = ['a.dll!0x0', 'a.dll!0xff', 'overlaps.dll!0x80', '<unknown>!0x9000', '<unknown>!0xfff', '<unknown>!0x0',
    '??\ufffd?.dll!0x0', '!0x0', `${long}!0x10`, `${long}!0x10`, 'top.dll!0xabc',
    '<unknown>!0x7ff012345678'];
  const { captureStackResult: { stackTrace } } = await capture.run();
  assert.equal(stackTrace, lines.map((line) => `${line}\r\n`).join(''));
  assert.equal(capture.argument('WriteFile', 2), reportOf(captureArgs(), stackTrace));
  assert.equal(capture.heapCalls[1], capture.heapCalls[0], 'the heap is not used while the thread is frozen');
});

/** Makes two captures. The second one chooses its dump's name before the first one has written its dump. */
async function overlap(t, answers) {
  const capture = new ScriptedCapture(t, answers);
  const results = [];
  for (const [held, args] of [['first', {}], ['second', { threadId: 7 }]]) {
    const heldLock = capture.system.stub(held, capture.addresses.get('Lock'));
    capture.system.hold(held);
    capture.answers.OpenThread = () => capture.field('Lock', heldLock) && thread;
    results.push(capture.run(args));
    await capture.system.held(held);
    capture.field('Lock', capture.addresses.get('Lock'));
    capture.second += 1;
  }
  capture.system.restore('first');
  await results[0];
  capture.system.restore('second');
  return { capture, results: await Promise.all(results) };
}

test('captures that overlap share one dump and have a report each', async (t) => {
  const { capture, results } = await overlap(t);
  assert.deepEqual(results, [full, { ...full, jsonFilename: `${name}-7.json` }]);
  assert.equal(capture.order.match(/MiniDumpWriteDump/g).length, 1);
  assert.equal(capture.steps.findLast(([step]) => step === 'WriteFile')[2], reportOf());
});

test('a capture writes a dump itself if the dump that it has waited for failed', async (t) => {
  const answers = [0, 1];
  const { results } = await overlap(t, { MiniDumpWriteDump: () => answers.shift() });
  assert.deepEqual(results[0], noDump('Failed to write dump'));
  assert.deepEqual(results[1], { ...full, jsonFilename: '2024-03-05 14-07-11.dmp-7.json' });
});

test('captures that do not overlap write a dump each, also after one that could not suspend its thread', async (t) => {
  const capture = new ScriptedCapture(t);
  const firstFile = async (suspended) => {
    capture.answers.SuspendThread = suspended;
    await capture.run();
    return capture.steps.find(([step]) => step === 'CreateFileW')?.[1];
  };
  // Within one second all dumps have the same name.
  for (const suspended of [0, 0, failed, 0, failed]) {
    assert.equal(await firstFile(suspended), suspended === failed ? undefined : create(name)[1]);
  }
  capture.second += 1;
  assert.equal(await firstFile(0), create('2024-03-05 14-07-10.dmp')[1]);
});

test('the table has DbgHelp\'s functions in order, null for each missing one, and is made only once', (t) => {
  for (const missing of [[], ['StackWalk64', 'SymFromAddrW']]) {
    const dbgHelp = new ScriptedCapture(t);
    for (const name of missing) dbgHelp.addresses.set(name, 0n);
    for (const name of ['Lock', 'Unlock']) dbgHelp.addresses.delete(name);
    for (const [name, address] of dbgHelp.addresses) assert.equal(dbgHelp.field(name), address, name);
    assert.deepEqual(dbgHelp.steps, [['LoadLibraryW', 'DbgHelp'], ['SymInitialize', 2n ** 64n - 1n, null, 1]]);
  }
});

test('loading DbgHelp is tried again after it failed, and a DbgHelp without SymCleanup is not used', async (t) => {
  const libraries = [0n, 0n, 1n];
  const dbgHelp = new ScriptedCapture(t, { LoadLibraryW: () => libraries.shift() });
  dbgHelp.addresses.set('SymCleanup', 0n);
  for (let calls = 0; calls < 4; ++calls) assert.equal(dbgHelp.getTable(), null);
  assert.equal(dbgHelp.order, 'LoadLibraryW, LoadLibraryW, LoadLibraryW');
  assert.deepEqual(await dbgHelp.run(), nothing('Invalid dbghelp functions'));
});

const changed = 0xC0000004; // STATUS_INFO_LENGTH_MISMATCH: the list of modules changed meanwhile.
const started = 87; // ERROR_INVALID_PARAMETER: the symbol handler runs already.
const [start, stop] = ['SymInitialize', 'SymCleanup'];

for (const [errors, first, second] of [
  [[changed, changed], [start, start, start, true], [true]],
  [[changed, changed, changed], [start, start, start, false], [start, true]],
  [[5, changed, 5], [start, false], [start, start, false]],
  [[started], [start, stop, start, true], [true]],
  [[started, changed, changed, started], [start, stop, start, start, start, false], [start, true]],
  [[started, started, 5], [start, stop, start, false], [start, false]],
]) {
  test(`the symbol handler is started again only if that can help: errors ${errors.join(', ')}`, (t) => {
    const dbgHelp = new ScriptedCapture(t, {
      SymInitialize: () => {
        dbgHelp.system.lastError = errors.shift();
        return dbgHelp.system.lastError ? 0 : 1;
      },
    });
    for (const expected of [['LoadLibraryW', ...first], second]) {
      const hasTable = dbgHelp.getTable() !== null;
      assert.deepEqual([...dbgHelp.steps.splice(0).map(([name]) => name), hasTable], expected);
    }
  });
}

test('the thread that holds the lock can take it again, and no other thread can take it', async (t) => {
  const dbgHelp = new ScriptedCapture(t);
  const [lock, unlock] = ['Lock', 'Unlock'].map((name) => koffi.decode(dbgHelp.field(name), declarations[name]));
  lock();
  lock();
  unlock();
  let entered = false;
  const other = new Promise((resolve) => { lock.async(resolve); }).then(() => { entered = true; });
  await sleep(50);
  assert.equal(entered, false);
  unlock();
  await inTime('the lock, on another thread', other);
});
