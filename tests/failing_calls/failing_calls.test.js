'use strict';
// Lets every system call of each script function fail, and then several calls at random. Afterwards nothing hangs,
// leaks, or stays suspended or locked, the callback has been called, and the next call works. What a function returns
// when a system call fails is tested in that function's test file.
//   Environment variables: SEED repeats the random attempts, ROUNDS is their number.
const { assert, randomNumbers, runScript, sleep, startStallTarget, temporaryFolder, test } = require('../support');
const { Machine, scenarios } = require('./machine.js');

/** Functions that the module cannot do without: the process ends when one of them fails. */
const vital = ['malloc', 'calloc', 'SysAllocStringLen', 'GetHandleInformation', '_beginthreadex'];
const [facts, ...others] = Object.keys(scenarios);
const answers = {};
const calls = {};

/**
 * Runs scenarios in which calls fail, [[SCENARIO, { FUNCTION: nth }], ...]. Checks that the scenarios then give their
 * usual answers, and that nothing has leaked.
 */
async function check(attempts, machineOf, keptBlocks = 0) {
  const text = JSON.stringify(attempts);
  console.log(text); // If the process hangs or ends, the last of these lines shows why.
  let missing = ['?'];
  // Repeated, because a leak happens every time. The compiler's library keeps memory too, but allocates it only once.
  for (let times = 0; missing.length > 0; ++times) {
    assert.ok(times < 5, `after ${text} there were too few calls of: ${missing}`);
    const machine = machineOf();
    const before = machine.held;
    for (const [name, failing] of attempts) await machine.run(name, failing);
    for (const name of new Set(attempts.map(([name]) => name))) {
      const { answer } = await machine.run(name);
      if (name !== facts) assert.deepEqual(answer, answers[name], `the next answer after ${text}`);
    }
    await sleep(20 * times); // Threads that have delivered their result may not have ended yet.
    const now = machine.held;
    missing = Object.keys(now).filter((kind) => now[kind] - before[kind] > (kind === 'free' ? keptBlocks : 0));
  }
}

/** Lets several calls fail at random, ROUNDS times. */
async function checkAtRandom(machine) {
  const seed = Number(process.env.SEED ?? Date.now() % 2 ** 31);
  console.log(`SEED=${seed}`);
  const random = randomNumbers(seed);
  for (const name of others) await machine.run(name); // Looks up all functions.
  const pick = (list) => list[random(list.length)];
  const attempt = () => {
    const name = pick(others);
    const failing = Array.from({ length: 2 + random(4) }, () => pick(calls[name]));
    return [name, Object.fromEntries(failing.map(([called, count]) => [called, 1 + random(count)]))];
  };
  for (let rounds = Number(process.env.ROUNDS ?? 1000); rounds > 0; rounds -= 50) {
    await check(Array.from({ length: 50 }, attempt), () => machine);
  }
}

test('after a system call that fails, nothing leaks or stays locked, and the next call works', async (t) => {
  const target = { ...await startStallTarget(), janksDir: `${temporaryFolder(test)}\\` };
  t.after(target.kill);
  const newMachine = () => new Machine(t, target);
  const intact = newMachine();
  for (const name of [facts, ...others, ...others]) {
    const clean = await intact.run(name);
    answers[name] = clean.answer;
    calls[name] = clean.calls.filter(([called]) => !vital.includes(called));
  }
  for (const name of [...others, facts]) {
    const machine = newMachine();
    const [machineOf, keptBlocks] = name === facts ? [newMachine, 5] : [() => machine, 0];
    await t.test(name, async () => {
      for (const [called, count] of calls[name]) {
        for (let nth = 1; nth <= Math.min(count, 3); ++nth) {
          await check([[name, { [called]: nth }]], machineOf, keptBlocks);
        }
      }
    });
  }
  await t.test('several calls at random', () => checkAtRandom(newMachine()));
  await t.test('the process ends when a call fails that the module cannot do without', () => (
    Promise.all(vital.map((called) => assert.rejects(runScript(`
      const { Machine, scenarios } = require(${JSON.stringify(require.resolve('./machine.js'))});
      const machine = new Machine({ after() {} });
      for (const name of Object.keys(scenarios)) await machine.run(name, { ${called}: 1 });
    `), { code: 3 }, called)))
  ));
});
