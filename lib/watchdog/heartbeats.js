'use strict';

const inspector = require('./inspector.js');

/** What living() throws becomes an uncaught exception, and the heartbeats go on. */
function isLiving(living) {
  try {
    return !!living();
  } catch (error) {
    process.nextTick(() => { throw error; });
    return false;
  }
}

/**
 * Sends the watcher a heartbeat now and every `beatMs` milliseconds. `counter` is an Int32Array in shared memory that
 * counts them. Calls `onBeat` before each, with their number since the start, from 1, and with true if the event loop
 * has turned all the time since the previous one. Returns the timer.
 */
exports.startHeartbeats = (child, { living, beatMs, thresholdMs, counter }, onBeat) => {
  let written = true;
  let count = 0;
  let last = performance.now();
  function beat() {
    const now = performance.now();
    const isRegular = now - last < thresholdMs / 2;
    last = now;
    const number = Atomics.add(counter, 0, 1) + 1;
    count += 1;
    onBeat(count, isRegular);
    // A suspended watcher reads no messages: do not fill the memory with them.
    if (!written || !child.connected) return;
    written = false;
    child.send({ number, uptime: process.uptime(), living: isLiving(living), mayPause: !!inspector?.url() },
      () => { written = true; });
  }
  beat();
  return setInterval(beat, beatMs);
};
