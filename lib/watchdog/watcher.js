'use strict';
// The script of the watcher's process. watcher_process.js starts it and sends it the settings, then heartbeats. It ends
// by itself when the channel to the watched process closes. It never calls process.exit(): a capture that is under way
// must first let its thread run again.

const send = (message, sent = () => {}) => process.send(message, sent);
const sendError = ({ message, code, result }) => send({ error: { message, code, result } });

// Set before the modules below are loaded, because loading them can fail too. The watched process reads the last lines.
process.once('uncaughtException', (error) => {
  process.exitCode = 1;
  console.error(error);
  if (process.connected) process.disconnect();
});

const { warmUp } = require('./capture_stall.js');
const { stallHandler } = require('./handle_stall.js');
const { LoopClock } = require('./loop_clock.js');
const { Stall } = require('./stall.js');

/** Watches the heartbeats. Calls `onStall` with each Stall when it is noticed. */
function watchHeartbeats(settings, onStall) {
  const clock = new LoopClock(settings, performance.now());
  let lastBeat;
  let lastBeatAt;
  let stall;
  let ticks;
  function tickIn(ms) {
    clearTimeout(ticks);
    ticks = setTimeout(tick, ms);
  }
  function tick() {
    tickIn(settings.beatMs / 2);
    const now = performance.now();
    const noticedMs = clock.tick(now);
    if (!noticedMs) return;
    stall = new Stall({ noticedMs, lastBeat, silentMs: now - lastBeatAt });
    onStall(stall);
  }
  process.on('message', (/** @type {any} */ beat) => {
    tickIn(settings.beatMs * 1.25); // While the heartbeats come, each puts it off.
    lastBeat = beat;
    lastBeatAt = performance.now();
    const stallMs = clock.beat(lastBeatAt, beat.mayPause);
    stall?.turn(stallMs);
    stall = undefined;
  });
  process.on('disconnect', () => {
    clearTimeout(ticks);
    stall?.abandon();
  });
}

async function watch(settings) {
  const handle = stallHandler(settings, send);
  let handled = warmUp(settings).catch(sendError);
  handled.then(() => send({ ready: true }));
  watchHeartbeats(settings, (stall) => {
    handled = handled.then(() => handle(stall));
  });
}

process.once('message', watch);
