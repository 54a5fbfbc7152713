'use strict';

/**
 * Computes from heartbeats how long another process's event loop stands still. All times are in milliseconds. A stall
 * counts from the first heartbeat that did not come.
 */
exports.LoopClock = class LoopClock {
  #thresholdMs;
  #beatMs;
  #lastBeat;
  #lastRun;
  #armed = false;

  /** Heartbeats come every `beatMs`. A stall is noticed when it has lasted `thresholdMs`. */
  constructor({ thresholdMs, beatMs }, now) {
    this.#thresholdMs = thresholdMs;
    this.#beatMs = beatMs;
    this.#lastBeat = this.#lastRun = now;
  }

  /** How long the loop has stood still. */
  #stalledMs(now) {
    // If this process has not run either, the machine was asleep or too busy for all processes: leave that time out.
    const gap = now - this.#lastRun;
    if (gap > this.#thresholdMs / 2) this.#lastBeat += gap;
    this.#lastRun = now;
    return now - this.#lastBeat - this.#beatMs;
  }

  /**
   * To be called for each heartbeat. With `mayPause` (a debugger), no stall is noticed until the next heartbeat.
   * Returns how long the loop had stood still: the whole length of a stall that was noticed.
   */
  beat(now, mayPause) {
    const stalledMs = this.#stalledMs(now);
    this.#lastBeat = now;
    this.#armed = !mayPause;
    return stalledMs;
  }

  /**
   * To be called at least every `thresholdMs` / 2 while no heartbeat comes. Returns how long the loop has stood still,
   * once for each stall, when it is noticed; else 0.
   */
  tick(now) {
    const stalledMs = this.#stalledMs(now);
    if (!this.#armed || stalledMs < this.#thresholdMs) return 0;
    this.#armed = false;
    return stalledMs;
  }
};
