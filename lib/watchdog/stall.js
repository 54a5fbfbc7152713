'use strict';

/** A stall that the watcher has noticed. Times are those of the watcher: the client may replace its own clock. */
exports.Stall = class Stall {
  #noticedAt = performance.now();
  #noticedMs;
  #uptime;
  #resolve;

  /** Resolves when the loop has turned again or the client has ended. */
  over = new Promise((resolve) => { this.#resolve = resolve; });

  isOver = false;

  /** When the loop turned again; undefined until then. */
  turnedAt;

  /** How long the whole stall has lasted, in milliseconds; undefined until the loop has turned. */
  stallMs;

  /** `noticedMs`: how long the loop has stood still. `lastBeat`: the last heartbeat, which came `silentMs` ago. */
  constructor({ noticedMs, lastBeat, silentMs }) {
    this.#noticedMs = noticedMs;
    this.#uptime = lastBeat.uptime + (silentMs - noticedMs) / 1000;
    this.startedAt = Math.round(Date.now() - noticedMs);
    this.since = new Date(this.startedAt).toISOString();
    this.lastBeat = lastBeat.number;
    this.living = lastBeat.living;
  }

  /** What a report that begins now has to say. */
  get fields() {
    const duration = this.stallMs ?? Math.round(this.#noticedMs + performance.now() - this.#noticedAt);
    return { duration, uptime: this.#uptime + duration / 1000, living: this.living };
  }

  /** To be called when the loop has turned again, with the length of the stall. */
  turn(stallMs) {
    this.turnedAt = Date.now();
    this.stallMs = Math.round(stallMs);
    this.abandon();
  }

  /** To be called when no heartbeat will tell the end of the stall, because the channel to the client has closed. */
  abandon() {
    this.isOver = true;
    this.#resolve();
  }
};
