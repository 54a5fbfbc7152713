'use strict';
// A watchdog over the test's own process, and stalls of it.
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { setTimeout: sleep } = require('node:timers/promises');
const { enumProcessList } = require('borvanta-util/promises');
const { watchForJank } = require('borvanta-util/watchdog');

/** Resolves when `condition` is true. */
const until = exports.until = async (condition) => {
  while (!await condition()) await sleep(50);
};

exports.isRunning = async (id) => (await enumProcessList()).list.some(({ pid }) => pid === id);

/** Starts a watchdog, which the test `t` stops. The lists are of what it calls back with. */
exports.watchThisProcess = (t, options) => {
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'borvanta-watchdog-'));
  const janksDir = path.join(folder, 'janks');
  const [janks, errors] = [[], []];
  const watch = watchForJank({ janksDir, onJank: (jank) => janks.push(jank), onError: (error) => errors.push(error),
    ...options });
  t.after(async () => {
    await watch.stop();
    fs.rmSync(folder, { recursive: true, force: true, maxRetries: 5 });
  });
  let isReady = false;
  watch.ready.then(() => { isReady = true; });
  return { watch, janks, errors, ready: () => until(() => isReady), files: () => fs.readdirSync(janksDir) };
};

/** Blocks the event loop while `goesOn(elapsedMs)`; returns when that began. */
exports.stall = (goesOn) => {
  const start = Date.now();
  while (goesOn(Date.now() - start));
  return start;
};
