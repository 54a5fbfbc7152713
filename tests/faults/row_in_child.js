'use strict';
// One call that fails, in a process that may end by it: row_in_child.js SCENARIO FUNCTION[@worker] N.
// Prints the answers of the call and of one after it, as JSON each.
const { freshCopy, helper, injector } = require('./machine.js');
const { scenarios } = require('./scenarios.js');

const [name, failing, n] = process.argv.slice(2);
// Nobody is captured: a thread that this process freezes and does not live to resume would stay frozen.
const { prepare, run, finish } = scenarios({ processId: 0xFFFFFFF0, threadId: 0 })[name];
const [failingName, onWorker] = failing.split('@');

(async () => {
  injector.endQuietly();
  helper.comInitialize();
  const util = freshCopy();
  for (const armed of [true, false]) {
    injector.arm();
    await prepare?.(util);
    injector.arm(armed ? failingName : undefined, +n, onWorker !== undefined);
    console.log(JSON.stringify(await run(util)));
    if (armed && injector.calls()[failingName] < n) console.log('"not reached"');
    injector.arm();
    await finish?.(util);
  }
})();
