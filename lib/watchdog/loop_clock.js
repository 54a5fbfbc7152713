'use strict';

/** Finds out from heartbeats how long another process's event loop has stood still. All times are in milliseconds. */
exports.LoopClock = class LoopClock {
  #thresholdMs;
  #beatMs;
  #lastBeat;
  #lastTick;
  #armed = false;

  /** Heartbeats come every `beatMs`; a stall is to be captured when it lasts `thresholdMs`. */
  constructor({ thresholdMs, beatMs }) {
    this.#thresholdMs = thresholdMs;
    this.#beatMs = beatMs;
  }

  /** A heartbeat has come. No stall is found until the next one when a debugger may pause the process. */
  beat(now, mayPause) {
    this.#lastBeat = now;
    this.#armed = !mayPause;
  }

  /**
   * To be called every `beatMs`. Returns how long the loop has stood still at least, when that is to be captured; else 0.
   * The loop has turned until the next heartbeat was due, so that is where a stall begins.
   */
  tick(now) {
    // Where this process has not run either, the machine has slept or has had no time for anybody: begin afresh.
    if (now - this.#lastTick > this.#thresholdMs / 2) this.#lastBeat = now;
    this.#lastTick = now;
    const stalledMs = now - this.#lastBeat - this.#beatMs;
    return this.#armed && stalledMs >= this.#thresholdMs ? stalledMs : 0;
  }

  /** This stall is taken care of: find no other one before the next heartbeat. */
  disarm() {
    this.#armed = false;
  }
};
