'use strict';

const { StackRequest } = require('./ask_for_stack.js');
const { atMostPerHour } = require('./at_most_per_hour.js');
const { captureStall } = require('./capture_stall.js');
const { writeStallRecord } = require('./stall_record.js');

/** Names of dumps have a resolution of one second: a capture must not replace the files of the previous one. */
const pauseMs = 1000;

const wait = (ms) => new Promise((resolve) => { setTimeout(resolve, ms).unref(); });
const notCaptured = (why, code) => Object.assign(new Error(`A stall was not captured: ${why}`), { code });

/** True if the loop had turned before the thread ran again: the native stack shows something else than the stall. */
const isLate = ({ turnedAt }, { thawedAt }) => turnedAt < thawedAt;

/** How much of a stall is the time for which the previous capture had frozen the thread. */
const frozenMs = ({ startedAt, turnedAt = Date.now() }, { frozenAt, thawedAt }) => (
  Math.max(0, Math.min(turnedAt, thawedAt) - Math.max(startedAt, frozenAt)));

/** What is known of a stall besides its report. */
const describe = (stall, captured, { stack }) => (
  { since: stall.since, stallMs: stall.stallMs, late: isLate(stall, captured), ...stack });

function checkNotOver({ isOver }) {
  if (isOver) throw notCaptured('it was over before the capture could begin', 'ERR_STALL_OVER');
}

/**
 * Returns handle(stall), to be called when the handling of the previous stall has ended. It reads the script stack,
 * then captures the main thread, writes the stall's record, and resolves when the stall is over. Then it has sent the
 * watched process a message with `jank` or `error`; or none if it was no stall, but somebody who debugs or the freeze
 * of the previous capture.
 *
 * A thread that runs native code pauses for its script stack when it comes back to script. So that the freeze does not
 * meet this pause, the request is withdrawn for the time from the capture's call to the freeze.
 *
 * `captureAgesMs` has, for each capture of the last hour, how long ago it was. A message `capturing` tells of each.
 */
exports.stallHandler = ({ stackPipe, maxCapturesPerHour, captureAgesMs, ...settings }, send) => {
  const mayCapture = atMostPerHour(maxCapturesPerHour, captureAgesMs);
  let paused;
  /** @type {any} */
  let frozen;

  /** A capture that comes late makes the loop stand still itself. Waits until it is clear what has done it. */
  async function isFreeze(stall) {
    if (!frozen || !frozenMs(stall, frozen)) return false;
    const missingMs = () => settings.thresholdMs - (stall.fields.duration - frozenMs(stall, frozen));
    await Promise.race([stall.over, wait(missingMs())]);
    return missingMs() > 0;
  }

  /** Resolves to what captureStall does, or to undefined if somebody else has paused the thread. */
  async function capture(stall, request) {
    await request.inTime();
    if (request.isDebugged) return undefined;
    await Promise.race([paused, stall.over]);
    checkNotOver(stall);
    await request.withdraw();
    if (request.isDebugged) return undefined;
    checkNotOver(stall);
    if (!mayCapture()) {
      throw notCaptured(`there were ${maxCapturesPerHour} captures within an hour`, 'ERR_CAPTURE_LIMIT');
    }
    send({ capturing: true });
    frozen = { frozenAt: Date.now() };
    try {
      frozen = await captureStall(settings, stall, () => request.renew());
      return frozen;
    } catch (error) {
      frozen.thawedAt = Date.now();
      throw error.result ? error : notCaptured(error.message, 'ERR_CAPTURE_FAILED');
    } finally {
      paused = wait(pauseMs);
    }
  }

  const record = (jank) => writeStallRecord(jank).catch((error) => {
    const message = `The record of a stall was not written: ${error.message}`;
    send({ error: { message, code: 'ERR_RECORD_FAILED' } });
  });

  return async (stall) => {
    if (await isFreeze(stall)) return;
    const request = new StackRequest(stackPipe, stall);
    /** @type {any} */
    const captured = await capture(stall, request).catch((error) => ({ error }));
    if (!captured) return;
    request.renew();
    const save = () => record({ ...describe(stall, captured, request), ...captured.jank });
    // The client may never come back, and its end is the end of this process: so what is known is written at once.
    if (captured.jank && !stall.isOver) await save();
    await request.settled();
    if (captured.jank && !stall.isOver && request.stack.scriptFramesLate) await save();
    await stall.over;
    const known = describe(stall, captured, request);
    if (captured.jank) {
      const jank = { ...known, ...captured.jank };
      await record(jank); // Before onJank: it may remove the stall's files.
      send({ jank });
    } else {
      const { message, code, result } = captured.error;
      send({ error: { ...known, message, code, result } });
    }
  };
};
