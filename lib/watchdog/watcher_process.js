'use strict';

const { fork } = require('node:child_process');
const fs = require('node:fs');
const inspector = require('node:inspector');
const path = require('node:path');

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

exports.checkNotWatcher = () => {
  if (!process.env[mark]) return;
  throw new Error('This process was started to watch another one, but runs the application: give watchForJank() an '
    + 'execPath and an env that run the scripts of Node.js (docs/watchdog.md)');
};

/**
 * Starts the watcher, a process that watches this one, and sends it heartbeats. Calls `onMessage` with each message of
 * the watcher. Calls `onEnd` once, with the reason, when the watcher has ended or could not be started. None of this
 * keeps this process alive.
 *
 * Returns the ChildProcess. To end it, disconnect it: if a watcher is killed during a capture, the thread stays frozen.
 */
exports.startWatcher = ({ execPath, env, living, ...settings }, onMessage, onEnd) => {
  const child = fork(script, [], {
    execPath,
    execArgv: [],
    env: { ...process.env, ...notForWatcher, ...env, [mark]: '1' },
    stdio: ['ignore', 'ignore', 'ignore', 'ipc'],
    // @ts-ignore: Node.js 18 has it, but its types do not.
    windowsHide: true,
  });
  // What living() throws becomes an uncaught exception, and the heartbeats go on.
  function isLiving() {
    try {
      return !!living();
    } catch (error) {
      process.nextTick(() => { throw error; });
      return false;
    }
  }
  let written = true;
  function beat() {
    // A suspended watcher reads no messages: do not fill the memory with them.
    if (!written) return;
    written = false;
    child.send({ at: Date.now(), uptime: process.uptime(), living: isLiving(), mayPause: !!inspector.url() },
      () => { written = true; });
  }
  const beats = setInterval(beat, settings.beatMs);
  let ended = false;
  function end(reason) {
    if (ended) return;
    ended = true;
    clearInterval(beats);
    onEnd(reason);
  }
  child.on('error', ({ message }) => end(message));
  child.on('exit', (code, signal) => end(signal ?? `exit code ${code}`));
  child.on('message', onMessage);
  child.send(settings, () => {});
  beat();
  for (const handle of [child, child.channel, beats]) handle.unref();
  return child;
};
