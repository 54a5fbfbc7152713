'use strict';

const { inspect } = require('node:util');
const { atMostPerHour } = require('./at_most_per_hour.js');
const { claimFolder } = require('./claim_folder.js');
const { mainThreadId } = require('./main_thread_id.js');
const { startStackWorker } = require('./start_stack_worker.js');
const { startWatcher } = require('./watcher_process.js');

const maxBeatMs = 200;
const restartDelayMs = 1000;
const restartsPerHour = 5;

const watchError = (message, code, rest) => Object.assign(new Error(message), { code, ...rest });

/** A promise with its functions. Nobody has to handle its rejection. */
function deferred() {
  const made = {};
  made.promise = new Promise((resolve, reject) => { Object.assign(made, { resolve, reject }); });
  made.promise.catch(() => {});
  return made;
}

/**
 * Keeps a watcher running, and passes on what it tells. The options are those of readOptions(). onJank and onError are
 * not called after stop().
 */
exports.Watch = class Watch {
  #options;
  /** @type {any} */
  #settings;
  #onJank;
  #onError;
  #releaseFolder;
  #stackWorker;
  #watcher;
  #restart;
  #stopped = false;
  #keepAlive;
  #ready = deferred();
  #ended = deferred();
  #mayRestart = atMostPerHour(restartsPerHour);
  #capturedAt = [];

  /** Claims the folder, and throws if that fails. Nothing has been started then. */
  constructor({ onJank, onError, execPath, env, living, startTimeoutMs, scriptStack, ...settings }) {
    this.#onJank = onJank;
    this.#onError = onError;
    this.#releaseFolder = claimFolder(settings.janksDir);
    const { thresholdMs } = settings;
    const beatMs = Math.min(thresholdMs / 5, maxBeatMs);
    const counter = new Int32Array(new SharedArrayBuffer(4));
    this.#options = { execPath, env, living, startTimeoutMs, beatMs, thresholdMs, counter };
    this.#settings = { ...settings, beatMs, processId: process.pid };
    this.#ready.promise.catch(() => {}).then(() => {
      this.#ready.settled = true;
      clearInterval(this.#keepAlive);
    });
    this.#start(scriptStack);
  }

  /** While somebody waits for it, this process stays alive: else it could end silently. */
  get ready() {
    if (!this.#ready.settled) this.#keepAlive ??= setInterval(() => {}, 2 ** 30);
    return this.#ready.promise;
  }

  get pid() { return this.#watcher?.pid; }

  stop() {
    if (this.#stopped) return this.#ended.promise;
    this.#stopped = true;
    clearTimeout(this.#restart);
    this.#ready.reject(watchError('The watch was stopped before it was ready', 'ERR_WATCHER_ENDED'));
    if (this.#watcher) this.#watcher.stop();
    else this.#end();
    return this.#ended.promise;
  }

  /** Releases what the watch holds when the last watcher has ended after stop(). */
  #end() {
    this.#stackWorker?.stop();
    this.#releaseFolder();
    this.#ended.resolve();
  }

  async #start(scriptStack) {
    const { counter } = this.#options;
    try {
      if (this.#settings.threadId) this.#checkThread(this.#settings.threadId);
      else this.#settings.threadId = await mainThreadId();
    } catch (cause) {
      this.#giveUp(watchError(`The watcher cannot be started: ${cause.message}`, 'ERR_WATCHER_ENDED', { cause }));
      return;
    }
    if (this.#stopped) return;
    if (scriptStack) this.#stackWorker = startStackWorker(counter, (reason) => this.#onStackWorkerEnd(reason));
    this.#settings.stackPipe = this.#stackWorker?.pipe;
    this.#startWatcher();
  }

  /** Tells if the option threadId seems to be wrong. It is used all the same: a host may know better than Node.js. */
  async #checkThread(threadId) {
    const reported = await mainThreadId().catch(() => threadId);
    if (reported === threadId || this.#stopped) return;
    this.#onError(watchError(`The option threadId is ${threadId}, but Node.js reports ${reported} for the main thread`,
      'ERR_WRONG_THREAD'));
  }

  #startWatcher() {
    const captureAgesMs = this.#capturedAt.map((at) => performance.now() - at);
    try {
      this.#watcher = startWatcher(this.#options, { ...this.#settings, captureAgesMs },
        (message) => this.#onMessage(message), (...args) => this.#onEnd(...args));
    } catch (error) {
      this.#onEnd(error.message);
    }
  }

  #onMessage({ ready, capturing, jank, error }) {
    if (capturing) this.#capturedAt.push(performance.now());
    if (this.#stopped) return;
    if (ready) Promise.resolve(this.#stackWorker?.listening).then(() => this.#ready.resolve());
    if (jank) this.#tell(jank);
    if (error) this.#onError(watchError(error.message, error.code, error));
  }

  /** An exception of onJank is an uncaught exception, as in every callback of Node.js. onError gets a rejection. */
  #tell(jank) {
    const told = this.#onJank(jank);
    if (typeof told?.then !== 'function') return;
    Promise.resolve(told).catch((reason) => {
      if (this.#stopped) return;
      const isError = reason instanceof Error;
      this.#onError(isError ? reason : new Error(`onJank rejected: ${inspect(reason)}`, { cause: reason }));
    });
  }

  #onEnd(reason, neverAnswered) {
    this.#watcher = undefined;
    if (this.#stopped) {
      this.#end();
      return;
    }
    const again = !neverAnswered && this.#mayRestart();
    const then = again ? 'it is started again' : 'it is not started again';
    const error = watchError(`The watcher has ended (${reason}): ${then}`, 'ERR_WATCHER_ENDED');
    if (again) {
      this.#restart = setTimeout(() => this.#startWatcher(), restartDelayMs).unref();
      this.#onError(error);
    } else {
      this.#giveUp(error);
    }
  }

  #onStackWorkerEnd(reason) {
    if (this.#stopped) return;
    this.#onError(watchError(`The worker for script stacks has ended (${reason}): there are none from now on`,
      'ERR_SCRIPT_STACK_ENDED'));
  }

  #giveUp(error) {
    if (this.#stopped) return;
    this.#ready.reject(error);
    this.#onError(error);
  }
};
