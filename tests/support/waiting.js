'use strict';
// Waiting in tests. A wait that reaches its limit ends the whole test file and says where it waited and for what: the
// next tests might wait as long, and what hangs might never let the process end.
const fs = require('node:fs');
const { setTimeout: sleep } = require('node:timers/promises');

/** How long a test waits for one thing, in ms. The runner kills a file that prints nothing for twice as long. */
const longestWait = exports.longestWait = 30_000;

/** The error of a wait. It is made when the wait begins, so that its stack shows where. */
const inVain = (what) => new Error(`waited ${longestWait / 1000} s in vain for ${what}`);

function giveUp(error) {
  fs.writeSync(2, `${error.stack}\n`);
  process.exit(1);
}

/** Resolves like `promise`, which has a limited time. */
const inTime = exports.inTime = (what, promise) => {
  const timer = setTimeout(giveUp, longestWait, inVain(what));
  return promise.finally(() => clearTimeout(timer));
};

/** Resolves when `condition` is true. */
exports.until = (condition, what = condition) => {
  const met = async () => { while (!await condition()) await sleep(1); };
  return inTime(what, met());
};

const never = new Int32Array(new SharedArrayBuffer(4));

/**
 * Blocks the event loop until `condition(elapsedMs)` is true, with a wait of `pause` milliseconds after each check. A
 * `pause` of 0 makes a busy loop. Returns the time at which the blocking began.
 */
exports.block = (condition, pause = 20) => {
  const start = Date.now();
  while (!condition(Date.now() - start)) {
    if (Date.now() - start > longestWait) giveUp(inVain(condition));
    if (pause) Atomics.wait(never, 0, 0, pause);
  }
  return start;
};
