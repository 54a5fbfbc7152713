'use strict';
// Lets every call of the module fail in each script function, and then several calls at random. What a function answers
// then is tested in the other folders. Here: nothing hangs, leaks or stays suspended or locked, the callback comes, and
// the next call works.
//   Environment: SEED repeats a run, ROUNDS makes it longer.
const assert = require('node:assert/strict');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const test = require('node:test');
const { setTimeout: sleep } = require('node:timers/promises');
const { Machine, scenarios } = require('./machine.js');
const { randomNumbers } = require('../support/random_numbers.js');
const { captureArgs, startStallTarget } = require('../support/stall_target.js');
const { RegistryKey } = require('../support/windows_api.js');
const { runScript } = require('../support/windows.js');

/** Functions that nothing goes on without: the process ends when one of them fails. */
const vital = ['malloc', 'calloc', 'SysAllocStringLen', 'DuplicateHandle', 'GetHandleInformation', '_beginthreadex'];
const [facts, ...others] = Object.keys(scenarios);
const answers = {};
const calls = {};

/** Lets calls fail, [[WHAT, { NAME: nth }], ...], and checks that all is well afterwards. */
async function check(attempts, machineOf, keptBlocks = 0) {
  const text = JSON.stringify(attempts);
  console.log(text); // The last one that is printed, should the process end.
  let leaks = ['?'];
  // What leaks does so every time; what the compiler's library keeps for good does not.
  for (let times = 0; leaks.length > 0; ++times) {
    assert.ok(times < 5, `${text} leaves ${leaks}`);
    const machine = await machineOf();
    const before = machine.held;
    for (const [name, failing] of attempts) await machine.run(name, failing);
    for (const name of new Set(attempts.map(([name]) => name))) {
      const { answer } = await machine.run(name);
      if (name !== facts) assert.deepEqual(answer, answers[name], `after ${text}`);
    }
    await sleep(20 * times); // Threads that have delivered may still be on their way out.
    const now = machine.held;
    leaks = Object.keys(now).filter((kind) => now[kind] - before[kind] > (kind.startsWith('malloc') ? keptBlocks : 0));
    if (leaks.length) console.log('AGAIN', leaks.join());
  }
}

const cpu = []; let c0 = process.cpuUsage();
test.afterEach((t) => { const d = process.cpuUsage(c0); c0 = process.cpuUsage(); console.log('CPU', t.name, d.user/1e6, d.system/1e6); });
test('failing calls', async (t) => {
  const client = new RegistryKey('SOFTWARE\\Borvanta', 32);
  client.set('', 'D:\\Apps');
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'borvanta-failing-'));
  const target = await startStallTarget('chain');
  t.after(() => {
    target.child.kill();
    client.remove();
    fs.rmSync(folder, { recursive: true });
  });
  const newMachine = () => new Machine(t, captureArgs({ ...target, janksDir: `${folder}\\` }));
  const machine = newMachine();
  for (const name of [facts, ...others, ...others]) {
    const clean = await machine.run(name);
    answers[name] = clean.answer;
    calls[name] = clean.calls.filter(([called]) => !vital.includes(called));
  }
  for (const name of others) {
    await t.test(name, { timeout: 60_000 }, async () => {
      for (const [called, count] of calls[name]) {
        for (let nth = 1; nth <= Math.min(count, 8); ++nth) await check([[name, { [called]: nth }]], () => machine);
      }
    });
  }
  await t.test(facts, { timeout: 60_000 }, async () => {
    const freshMachine = async () => {
      const fresh = newMachine();
      await fresh.run('start-up marks'); // The compiler's library now knows this thread.
      return fresh;
    };
    for (const [called, count] of calls[facts]) {
      for (let nth = 1; nth <= Math.min(count, 3); ++nth) await check([[facts, { [called]: nth }]], freshMachine, 5);
    }
  });
  await t.test('several calls at random', { timeout: 600_000 }, async () => {
    const seed = Number(process.env.SEED ?? Date.now() % 2 ** 31);
    console.log(`SEED=${seed}`);
    const random = randomNumbers(seed);
    const pick = (list) => list[random(list.length)];
    for (let round = 0; round < Number(process.env.ROUNDS ?? 1000); round += 20) {
      await check(Array.from({ length: 20 }, () => {
        const name = pick(others);
        const failing = Array.from({ length: 2 + random(4) }, () => pick(calls[name]));
        return [name, Object.fromEntries(failing.map(([called, count]) => [called, 1 + random(count)]))];
      }), () => machine);
    }
  });
  await t.test('the process ends by what nothing goes on without', { timeout: 60_000 }, async () => {
    await Promise.all(vital.map((called) => assert.rejects(runScript(`
      const { Machine, scenarios } = require(${JSON.stringify(require.resolve('./machine.js'))});
      const { captureArgs } = require(${JSON.stringify(require.resolve('../support/stall_target.js'))});
      const machine = new Machine({ after() {} }, captureArgs());
      for (const name of Object.keys(scenarios)) await machine.run(name, { ${called}: 1 });`), /exit code 3/, called)));
  });
});
