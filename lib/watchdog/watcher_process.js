'use strict';

const { fork } = require('node:child_process');
const fs = require('node:fs');
const path = require('node:path');
const { startHeartbeats } = require('./heartbeats.js');

/**
 * Environment variables that the watcher does not get: options of Node.js, which are meant for the client, and paths of
 * symbols, which captures do not need and for which DbgHelp may use the network.
 */
const notForWatcher = { NODE_OPTIONS: undefined, _NT_SYMBOL_PATH: undefined, _NT_ALTERNATE_SYMBOL_PATH: undefined };

const script = path.join(__dirname, 'watcher.js');

/** Throws if a bundler has taken this file into a bundle, which the watcher's process could not run. */
exports.checkScript = () => {
  if (fs.existsSync(script)) return;
  throw Object.assign(new Error(`The watcher's script ${script} is missing. If the application is bundled, keep the `
    + 'package external (docs/bundling.md)'), { code: 'MODULE_NOT_FOUND' });
};

/** The environment variable that marks the watcher's process. */
const mark = 'BORVANTA_JANK_WATCHER';

/** How much of the watcher's standard error is kept for the reason of its end, in characters. */
const errorLength = 1500;

/** How long to wait for the rest of the watcher's standard error when it has ended, in milliseconds. */
const restMs = 500;

/** How long a watcher that is stopped before it was ready may take to end by itself. */
const endMs = 2000;

exports.checkNotWatcher = () => {
  if (!process.env[mark]) return;
  throw new Error('This process was started to watch another one, but runs the application: give watchForJank() an '
    + 'execPath and an env that run the scripts of Node.js (docs/watchdog.md)');
};

function forkWatcher({ execPath, env }) {
  return fork(script, [], {
    execPath,
    execArgv: [],
    env: { ...process.env, ...notForWatcher, ...env, [mark]: '1' },
    stdio: ['ignore', 'ignore', 'pipe', 'ipc'],
    // @ts-ignore: Node.js 18 has it, but its types do not.
    windowsHide: true,
  });
}

/** Calls `onEnd` with the reason when the process has ended or could not be started. */
function watchEnd(child, onEnd) {
  let stderr = '';
  child.stderr?.setEncoding('utf8').on('data', (text) => { stderr = (stderr + text).slice(-errorLength); });
  child.once('error', ({ message }) => onEnd(message));
  child.once('exit', (code, signal) => {
    // The rest of standard error comes now. Its end may not come, if another process has inherited it.
    const rest = setTimeout(end, restMs);
    function end() {
      clearTimeout(rest);
      onEnd([signal ?? `exit code ${code}`, stderr.trim()].filter(Boolean).join(': '));
    }
    if (child.stderr.readableEnded) end();
    else child.stderr.once('end', end);
  });
}

/**
 * Starts the watcher, a process that watches this one, and sends it `settings` and heartbeats. Calls `onMessage` with
 * each message of the watcher. Calls `onEnd` once, with the reason, when the watcher has ended or could not be started.
 * Its second argument is true if the watcher never answered. None of this keeps this process alive. Throws if there is
 * nothing to start.
 *
 * Returns the id of the process, and stop(), which keeps this process alive until the watcher has ended. A watcher must
 * not be killed when it may be capturing: the thread would stay frozen. Before it is ready it captures nothing, but
 * this process may hear later that it is ready: so it is killed only when this event loop has turned for a while.
 */
exports.startWatcher = (options, settings, onMessage, onEnd) => {
  const child = forkWatcher(options);
  child.send(settings, () => {});
  let isReady = false;
  let neverAnswered = false;
  const beats = startHeartbeats(child, options, (count, isRegular) => {
    if (isReady || !isRegular || count * options.beatMs < options.startTimeoutMs) return;
    neverAnswered = true;
    child.kill();
  });
  let ended = false;
  watchEnd(child, (reason) => {
    if (ended) return;
    ended = true;
    clearInterval(beats);
    onEnd(neverAnswered ? `it was not ready after ${options.startTimeoutMs} ms` : reason, neverAnswered);
  });
  child.on('message', (/** @type {any} */ message) => {
    if (message.ready) isReady = true;
    onMessage(message);
  });
  /** @type {any[]} */
  const handles = [child, child.channel, child.stderr, beats];
  for (const handle of handles) handle?.unref();
  return {
    pid: child.pid,
    stop() {
      child.ref();
      if (child.connected) child.disconnect();
      if (!isReady) setTimeout(() => child.kill(), endMs).unref();
    },
  };
};
