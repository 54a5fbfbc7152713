'use strict';
// Lets every system call of the module fail, at its first, second and third call within each script function, and prints
// what the function then answers as a table: npm test -- --output faults
const assert = require('node:assert/strict');
const { execFile } = require('node:child_process');
const path = require('node:path');
const test = require('node:test');
const { setTimeout: sleep } = require('node:timers/promises');
const { promisify } = require('node:util');
const { answers, ends } = require('./answers.js');
const { fallible, infallible, threadLibrary } = require('./imports.js');

// The imports of the other compiler's build are others, and a Windows machine in use is not for failing about on.
const skip = !process.env.WINEPREFIX;
const machine = skip ? {} : require('./machine.js');
const { folder, freshCopy, importNames, injector, intact, setUp } = machine;

let target, tearDown, scenarios;
const failed = new Set();
const reached = new Set();

test.before(async () => {
  if (skip) return;
  ({ target, tearDown } = await setUp());
  scenarios = require('./scenarios.js').scenarios(target);
});
test.after(() => tearDown?.());

/** Splits "name", "name:last error" or "name@worker", which counts the calls of the module's own threads alone. */
function parse(failing = '') {
  const [, name, error, onWorker] = failing.match(/^(\w*)(?::(\d+))?(@worker)?$/);
  return { name, error, onWorker: onWorker !== undefined };
}

/** Runs a scenario in a copy of the module while the nth call of a function fails. */
async function runOnce({ prepare, run, finish }, util, failing, n) {
  const { name, error, onWorker } = parse(failing);
  if (error) injector.define(name, fallible[name][0], +error, fallible[name][2]);
  injector.arm();
  await prepare?.(util);
  injector.arm(name || undefined, n, onWorker);
  const answer = await run(util);
  const calls = injector.calls();
  injector.arm();
  await finish?.(util);
  return { answer, calls };
}

/**
 * Runs a scenario in a fresh copy of the module while a call fails, and again while none does. Resolves to both answers,
 * to how often each function was called, and to how many handles and PDH handles more are open than before.
 */
async function runRow(scenario, failing, n) {
  const util = freshCopy();
  const before = { handles: injector.openHandles(), pdhHandles: injector.openPdhHandles() };
  const { answer, calls } = await runOnce(scenario, util, failing, n);
  const { answer: after } = await runOnce(scenario, util);
  return { util, answer, calls, after, handles: injector.openHandles() - before.handles,
    pdhHandles: injector.openPdhHandles() - before.pdhHandles };
}

/** The same in a process of its own, which is to end by it. */
async function runEndingRow(scenario, failing, n) {
  const script = path.join(__dirname, 'row_in_child.js');
  const child = promisify(execFile)(process.execPath, [script, scenario, failing, n],
    { env: { ...process.env, BORVANTA_FAULTS: folder }, timeout: 30_000 });
  return child.then(({ stdout }) => stdout, ({ code, stdout }) => {
    assert.ok(stdout === '' && code !== 1 && code !== null, `${code} ${stdout}`);
    return ends;
  });
}

/** How many more blocks of memory the module has after twenty runs that nothing fails in. */
async function blocksKept(scenario) {
  const util = freshCopy();
  await runOnce(scenario, util);
  injector.arm();
  for (let run = 0; run < 20; ++run) {
    await scenario.prepare?.(util);
    await scenario.run(util);
    await scenario.finish?.(util);
  }
  // Threads that have just delivered are still on their way out.
  await sleep(100);
  const { malloc = 0, calloc = 0, free = 0 } = injector.calls();
  return malloc + calloc - free;
}

/** The calls that fail in turn, one row of the table each. */
function rowsOf(name, clean) {
  const ofThreadLibrary = ['getGuid', 'enumProcessList'].includes(name);
  const rows = Object.entries(clean.calls).filter(([failing]) => (
    failing in fallible && (ofThreadLibrary || !threadLibrary.has(failing))));
  if (clean.calls._beginthreadex) rows.push(['malloc@worker', 3]);
  for (const failing of Object.keys(answers[name] ?? {})) {
    if (failing.includes(':')) rows.push([failing, clean.calls[parse(failing).name]]);
  }
  return rows.flatMap(([failing, count]) => {
    // Each look-up is of another function, and a key is opened for each purpose.
    const most = /^(GetProcAddress|Reg)/.test(failing) ? 12 : 3;
    return Array.from({ length: Math.min(count, most) }, (_, index) => [failing, index + 1]);
  });
}

function expectedAnswer(name, failing, n, clean) {
  const answer = answers[name]?.[failing];
  return (typeof answer === 'object' ? answer[n] : answer) ?? clean.answer;
}

/** Checks a row of the table and returns how its answer reads in the table. */
async function checkRow(name, clean, failing, n) {
  const scenario = scenarios[name];
  const expected = expectedAnswer(name, failing, n, clean);
  if (expected === ends) {
    assert.equal(await runEndingRow(name, failing, n), ends);
    return ends;
  }
  const row = await runRow(scenario, failing, n);
  assert.equal(row.answer, expected);
  const called = parse(failing).name;
  // The thread library makes some calls only where no record of an ended thread is at hand.
  if (!(row.calls[called] >= n) && threadLibrary.has(called)) return 'not called';
  assert.ok(row.calls[called] >= n, 'the call did not come');
  assert.equal(row.after, scenario.keeps?.(called) ? row.answer : clean.after, 'the next call');
  assert.equal(injector.suspendCount(target.threadId), 0);
  assert.ok(row.pdhHandles <= clean.pdhHandles, 'PDH handles stay open');
  if (row.handles > clean.handles) {
    // Node.js and the compiler's library may have opened some for good. What leaks does so every time: in the same copy,
    // or in fresh ones where a second run would not come to the same call.
    const fresh = failing === 'malloc' || scenario.keeps?.();
    const before = injector.openHandles();
    for (let again = 0; again < 5; ++again) {
      await (fresh ? runRow(scenario, failing, n) : runOnce(scenario, row.util, failing, n));
    }
    const more = injector.openHandles() - before - (fresh ? 5 * clean.handles : 0);
    assert.ok(more < 5, `${more} handles more are open after 5 times`);
  }
  return expected === clean.answer ? 'as ever' : JSON.stringify(expected);
}

test('every script function is run, and every imported function fails or has a word why not', { skip }, () => {
  assert.deepEqual(Object.keys(intact).filter((name) => !(name in scenarios)), []);
  freshCopy();
  const unknown = importNames().filter((name) => !(name in fallible) && !(name in infallible));
  assert.deepEqual(unknown, []);
  const gone = Object.keys({ ...fallible, ...infallible }).filter((name) => !importNames().includes(name));
  assert.deepEqual(gone, []);
});

test('with the system\'s own DbgHelp', { skip }, async () => {
  const util = freshCopy();
  injector.useQuick(false);
  try {
    const { answer: clean } = await runOnce(scenarios.captureNativeJank, util);
    assert.match(clean, /^report, dump, ([5-9]|\d\d) frames$/);
    for (const [failing, n, expected] of [
      ['SymInitialize', 1, 'Failed to init dbghelp, 0 frames'],
      ['SymCleanup', 1, `Failed to cleanup dbghelp, ${clean}`],
      ['MiniDumpWriteDump', 1, clean.replace('dump', 'Failed to write dump')],
      ['EnumerateLoadedModulesW64', 1, 'report, dump, Failed to enum modules'],
      ['StackWalk64', 3, 'report, dump, 2 frames'],
      [undefined, 0, clean],
    ]) {
      const { answer } = await runOnce(scenarios.captureNativeJank, util, failing, n);
      assert.equal(answer, expected, failing);
      assert.equal(injector.suspendCount(target.threadId), 0);
    }
  } finally {
    injector.useQuick(true);
  }
});

for (const name of skip ? [] : Object.keys(require('./scenarios.js').scenarios({}))) {
  test(name, async () => {
    const clean = await runRow(scenarios[name]);
    // What Node.js happens to open meanwhile is not to hide what the module leaves open.
    for (let again = 0; again < 3; ++again) {
      clean.handles = Math.min(clean.handles, (await runRow(scenarios[name])).handles);
    }
    // Row by row, so that the last one tells where the process has ended.
    console.log(`${name}: ${JSON.stringify(clean.answer)}`);
    const wrong = [];
    for (const called of Object.keys(clean.calls)) reached.add(called);
    for (const [failing, n] of rowsOf(name, clean)) {
      failed.add(parse(failing).name);
      const answer = await checkRow(name, clean, failing, n).catch((error) => {
        wrong.push(`${failing} ${n}: ${error.message}`);
        return 'WRONG';
      });
      console.log(`| ${failing} | ${n} | ${answer} |`);
    }
    assert.deepEqual(wrong, []);
    assert.ok(await blocksKept(scenarios[name]) < 10, 'memory stays allocated');
    const unreached = Object.keys(answers[name] ?? {}).filter((failing) => !(parse(failing).name in clean.calls));
    assert.deepEqual(unreached, [], 'answers to calls that never come');
  });
}

test('every function that can fail has failed, and what is called unused is', { skip }, () => {
  assert.deepEqual(Object.keys(fallible).filter((name) => !failed.has(name)), []);
  assert.deepEqual([...reached].filter((name) => infallible[name] === 'unused'), []);
});
