'use strict';

const { checkMainThread } = require('./main_thread_id.js');

/** Calls `stop` when the signal is aborted. Returns the function that ends this. */
function onAbort(signal, stop) {
  if (signal.aborted) stop();
  signal.addEventListener('abort', stop, { once: true });
  return () => signal.removeEventListener('abort', stop);
}

exports.watchForJank = (options) => {
  checkMainThread('watchForJank');
  // Required only here, because options.js loads the module, which is for Windows only. readReport() works on every
  // system.
  const { readOptions } = require('./options.js');
  const { Watch } = require('./watch.js');
  const { checkNotWatcher, checkScript } = require('./watcher_process.js');
  checkNotWatcher();
  checkScript();
  const { signal, ...settings } = readOptions(options);
  const watch = new Watch(settings);
  let ignoreSignal;
  const stop = () => {
    ignoreSignal?.();
    return watch.stop();
  };
  if (signal) ignoreSignal = onAbort(signal, stop);
  return {
    get ready() { return watch.ready; },
    get pid() { return watch.pid; },
    stop,
    // Node.js 18.17 and older do not have it.
    ...(Symbol.asyncDispose && { [Symbol.asyncDispose]: stop }),
  };
};
