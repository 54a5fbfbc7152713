'use strict';

const fs = require('node:fs');
const { atMostPerHour } = require('./at_most_per_hour.js');
const { checkMainThread, mainThreadId } = require('./main_thread_id.js');

const maxBeatMs = 200;
const restartDelayMs = 1000;
const restartsPerHour = 5;

exports.watchForJank = (options) => {
  checkMainThread('watchForJank');
  // Required only here, because options.js loads the module, which is for Windows only. readReport() works on every
  // system.
  const { readOptions } = require('./options.js');
  const { checkNotWatcher, checkScript, startWatcher } = require('./watcher_process.js');
  checkNotWatcher();
  checkScript();
  const { onJank, onError, ...settings } = readOptions(options);
  fs.mkdirSync(settings.janksDir, { recursive: true });
  settings.processId = process.pid;
  settings.beatMs = Math.min(settings.thresholdMs / 10, maxBeatMs);

  const mayRestart = atMostPerHour(restartsPerHour);
  let child;
  let restart;
  let stopped = false;
  let resolveReady;
  let resolveEnded;
  const ready = new Promise((resolve) => { resolveReady = resolve; });
  const ended = new Promise((resolve) => { resolveEnded = resolve; });

  function onMessage(message) {
    if (stopped) return;
    if (message.ready) resolveReady();
    if (message.jank) onJank(message.jank);
    if (message.error) onError(Object.assign(new Error(message.error.message), message.error));
  }

  function onEnd(reason) {
    child = undefined;
    if (stopped) {
      resolveEnded();
      return;
    }
    const again = mayRestart();
    if (again) restart = setTimeout(start, restartDelayMs).unref();
    const then = again ? 'it is started again' : 'it has ended too often and is not started again';
    onError(Object.assign(new Error(`The watcher has ended (${reason}): ${then}`), { code: 'ERR_WATCHER_ENDED' }));
  }

  function start() {
    try {
      child = startWatcher(settings, onMessage, onEnd);
    } catch (error) {
      onEnd(error.message);
    }
  }

  Promise.resolve(settings.threadId || mainThreadId()).then((threadId) => {
    settings.threadId = threadId;
    if (!stopped) start();
  }, (error) => { if (!stopped) onError(error); });

  return {
    ready,
    get pid() { return child?.pid; },
    stop() {
      if (stopped) return ended;
      stopped = true;
      clearTimeout(restart);
      if (!child) resolveEnded();
      child?.ref();
      if (child?.connected) child.disconnect();
      return ended;
    },
  };
};
