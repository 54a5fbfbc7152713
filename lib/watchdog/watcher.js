'use strict';
// The script of the watcher's process. watcher_process.js starts it and sends it the settings, then heartbeats. It ends
// by itself when the channel to the watched process closes. It never calls process.exit(): a capture that is under way
// must first let its thread run again.

const send = (message, sent = () => {}) => process.send(message, sent);
const sendError = (/** @type {any} */ { message, code, result }, sent = () => {}) => send({ error: { message, code, result } }, sent);

// Set before the modules below are loaded, because loading them can fail too.
process.once('uncaughtException', (error) => {
  process.exitCode = 1;
  sendError(error, () => process.disconnect());
});

const { atMostPerHour } = require('./at_most_per_hour.js');
const { captureStall, warmUp } = require('./capture_stall.js');
const { LoopClock } = require('./loop_clock.js');
const { writeStallRecord } = require('./stall_record.js');

/** Names of dumps have a resolution of one second: a capture must not replace the files of the previous one. */
const pauseMs = 1000;

function watch(settings) {
  const clock = new LoopClock(settings);
  const mayCapture = atMostPerHour(settings.maxCapturesPerHour);
  let ticks;
  let lastBeat;
  let lastBeatAt;
  let turnedAt;
  let capturing = false;

  async function capture(stalledMs) {
    if (!mayCapture()) {
      const message = `A stall was not captured: there were ${settings.maxCapturesPerHour} captures within an hour`;
      sendError({ message, code: 'ERR_CAPTURE_LIMIT' });
      return;
    }
    capturing = true;
    turnedAt = undefined;
    const { living } = lastBeat;
    const uptime = lastBeat.uptime + (performance.now() - lastBeatAt) / 1000;
    await captureStall(settings, { stalledMs, uptime, living, turnedAt: () => turnedAt })
      .then(async (jank) => {
        // Before onJank: it may remove the stall's files.
        await writeStallRecord(jank).catch(sendError);
        send({ jank });
      }, sendError);
    setTimeout(() => { capturing = false; }, pauseMs).unref();
  }

  function tick() {
    const stalledMs = clock.tick(performance.now());
    if (!stalledMs || capturing) return;
    clock.disarm();
    capture(stalledMs);
  }

  process.on('message', (/** @type {any} */ beat) => {
    lastBeat = beat;
    lastBeatAt = performance.now();
    turnedAt ??= beat.at;
    clock.beat(lastBeatAt, beat.mayPause);
  });
  process.on('disconnect', () => { clearInterval(ticks); });
  warmUp(settings).catch(sendError).then(() => {
    if (!process.connected) return;
    ticks = setInterval(tick, settings.beatMs);
    send({ ready: true });
  });
}

process.once('message', watch);
