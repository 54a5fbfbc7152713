'use strict';
// A watchdog over the test's own process, and stalls of it.
const { enumProcessList } = require('borvanta-util/promises');
const { watchForJank } = require('borvanta-util/watchdog');
const { fs, path, temporaryFolder, test, until } = require('../support');

exports.isRunning = async (id) => (await enumProcessList()).list.some(({ pid }) => pid === id);

/** Starts a watchdog, which the test `t` stops. The lists are of what it calls back with. */
exports.watchThisProcess = (t, options) => {
  const janksDir = path.join(temporaryFolder(test), 'janks');
  const [janks, errors] = [[], []];
  const watch = watchForJank({ janksDir, onJank: (jank) => janks.push(jank), onError: (error) => errors.push(error),
    ...options });
  t.after(() => watch.stop());
  let isReady = false;
  watch.ready.then(() => { isReady = true; });
  return { watch, janks, errors, ready: () => until(() => isReady), files: () => fs.readdirSync(janksDir) };
};

const never = new Int32Array(new SharedArrayBuffer(4));

/** Blocks the event loop until `condition(elapsedMs)` is true. A `pause` of 0 makes a busy loop. Returns when it began. */
exports.block = (condition, pause = 20) => {
  const start = Date.now();
  while (!condition(Date.now() - start)) pause && Atomics.wait(never, 0, 0, pause);
  return start;
};
