'use strict';
// A process that watches itself for jank and does what the test orders: startWatched() starts it.
const { fork } = require('node:child_process');
const fs = require('node:fs');
const inspector = require('node:inspector');
const os = require('node:os');
const path = require('node:path');
const { setTimeout: sleep } = require('node:timers/promises');

const files = (folder) => fs.readdirSync(folder);

/** What the watched process does. Each returns (or resolves to) the answer to its order. */
const orders = (folder, watch) => ({
  pid: () => watch.pid,
  /** With a few heartbeats more. */
  ready: () => watch.ready.then(() => sleep(300)),
  stop: () => watch.stop(),
  /** Stands still for `ms`, or until there are so many files; returns when it began and the gaps in its run. */
  stall({ ms = 60_000, untilFiles = Infinity, waitMs = 0 }) {
    const never = new Int32Array(new SharedArrayBuffer(4));
    const start = Date.now();
    const gaps = [];
    let now = start;
    let count;
    do {
      const last = now;
      if (waitMs) Atomics.wait(never, 0, 0, waitMs);
      count = files(folder).length;
      now = Date.now();
      if (now > last + 100) gaps.push([last, now]);
    } while (now < start + ms && count < untilFiles);
    return { start, gaps, uptime: process.uptime() };
  },
  openInspector: () => inspector.open(0),
  closeInspector: () => inspector.close(),
});

if (require.main === module) {
  process.once('message', (options) => {
    let living = false;
    const watch = require('borvanta-util/watchdog').watchForJank({
      ...options,
      living: () => living,
      onJank: (jank) => process.send({ jank }),
      onError: ({ message, code }) => process.send({ error: { message, code } }),
    });
    watch.ready.then(() => { living = true; });
    const does = orders(options.janksDir, watch);
    process.on('message', async ([order, argument]) => process.send({ [order]: await does[order](argument) ?? null }));
  });
}

/** Starts it with these options, besides janksDir, and ends it with the test `t`. */
exports.startWatched = async (t, options) => {
  const folder = path.join(fs.mkdtempSync(path.join(os.tmpdir(), 'borvanta-watchdog-')), 'janks');
  const child = fork(__filename);
  t.after(() => {
    child.kill();
    fs.rmSync(path.dirname(folder), { recursive: true, force: true, maxRetries: 5 });
  });
  const said = [];
  let wake;
  child.on('message', (message) => {
    said.push(message);
    wake?.();
  });
  child.on('disconnect', () => wake?.());
  /** The next message of a kind, without it; others stay. */
  const next = async (kind) => {
    for (;;) {
      const index = said.findIndex((message) => kind in message);
      if (index >= 0) return said.splice(index, 1)[0][kind];
      if (!child.connected) throw new Error(`the watched process ended without "${kind}"`);
      await new Promise((resolve) => { wake = resolve; });
    }
  };
  const order = async (name, argument) => {
    child.send([name, argument]);
    return next(name);
  };
  child.send({ ...options, janksDir: folder });
  await order('ready');
  return { child, folder, said, next, order, files: () => files(folder) };
};

exports.isRunning = (pid) => {
  try {
    return process.kill(pid, 0);
  } catch {
    return false;
  }
};

/** Resolves when `condition` is true. */
exports.until = async (condition) => {
  while (!await condition()) await sleep(50);
};
