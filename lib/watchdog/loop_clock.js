'use strict';

/** Computes from heartbeats how long another process's event loop has stood still. All times are in milliseconds. */
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

  /** To be called for each heartbeat. With `mayPause` (a debugger), no stall is found until the next heartbeat. */
  beat(now, mayPause) {
    this.#lastBeat = now;
    this.#armed = !mayPause;
  }

  /**
   * To be called every `beatMs`. If a stall is to be captured now, returns the least time for which the loop has stood
   * still; else 0. The time counts from the first heartbeat that did not come.
   */
  tick(now) {
    // If this process has not run either, the machine was asleep or too busy for all processes: count from now.
    if (now - this.#lastTick > this.#thresholdMs / 2) this.#lastBeat = now;
    this.#lastTick = now;
    const stalledMs = now - this.#lastBeat - this.#beatMs;
    return this.#armed && stalledMs >= this.#thresholdMs ? stalledMs : 0;
  }

  /** To be called when a stall is captured: no stall is found until the next heartbeat. */
  disarm() {
    this.#armed = false;
  }
};
