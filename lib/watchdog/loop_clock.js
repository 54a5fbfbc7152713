'use strict';

/** Finds out from heartbeats how long another process's event loop has stood still. All times are in milliseconds. */
exports.LoopClock = class LoopClock {
  #thresholdMs;
  #beatMs;
  #lastBeat;
  #lastTick;
  #armed = false;

  /** Heartbeats come every `beatMs`. A stall is to be captured when it has lasted `thresholdMs`. */
  constructor({ thresholdMs, beatMs }) {
    this.#thresholdMs = thresholdMs;
    this.#beatMs = beatMs;
  }

  /** A heartbeat has come. If a debugger may pause the process, no stall is found until the next heartbeat. */
  beat(now, mayPause) {
    this.#lastBeat = now;
    this.#armed = !mayPause;
  }

  /**
   * To be called every `beatMs`. Returns for how long, at least, the loop has stood still, when that is to be captured;
   * else 0. The loop has turned until the next heartbeat was due, so the stall is counted from there.
   */
  tick(now) {
    // If this process has not run either, the machine has slept or was too busy for everybody: count afresh.
    if (now - this.#lastTick > this.#thresholdMs / 2) this.#lastBeat = now;
    this.#lastTick = now;
    const stalledMs = now - this.#lastBeat - this.#beatMs;
    return this.#armed && stalledMs >= this.#thresholdMs ? stalledMs : 0;
  }

  /** This stall has been dealt with: no stall is found until the next heartbeat. */
  disarm() {
    this.#armed = false;
  }
};
