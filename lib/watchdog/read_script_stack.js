'use strict';

const { Session } = require('node:inspector');

const maxFrames = 50;
const checkMs = 20;

/** The frame that onJank gets for a frame of the inspector, which counts lines and columns from 0. */
const toFrame = (/** @type {any} */ { functionName, location: { scriptId, lineNumber, columnNumber } }, urls) => (
  { function: functionName, url: urls.get(scriptId) ?? '', line: lineNumber + 1, column: columnNumber + 1 });

/**
 * Reads the script stack of the main thread, from a worker: pauses the main thread through the inspector, copies its
 * frames and lets it run again at once. A thread that runs native code answers only when it comes back to script.
 * Calls `onAnswer` when the thread begins to answer.
 *
 * Returns `stack`, a promise that never rejects, and `cancel`. The promise resolves to
 * - { scriptFrames }, innermost first;
 * - { isDebugged: true } when another session has paused the thread, which is left as it is;
 * - null when `hasTurned()` has become true, because a stack that is read then is not the stack of the stall, and after
 *   cancel().
 *
 * The inspector lets the thread go on when the session ends, also when it ends with its worker. There is a session only
 * until the promise resolves: while there is one, process.exit() waits for it.
 */
exports.readScriptStack = ({ hasTurned, onAnswer }) => {
  const session = new Session();
  const urls = new Map();
  let isEnabled = false;
  let check;
  let resolve;
  const stack = new Promise((resolved) => { resolve = resolved; });
  function end(read = null) {
    clearInterval(check);
    session.disconnect();
    resolve(read);
  }
  // The first of these events is the beginning of the answer to "enable".
  session.once('Debugger.scriptParsed', onAnswer);
  session.on('Debugger.scriptParsed', ({ params }) => { urls.set(params.scriptId, params.url); });
  session.once('Debugger.paused', ({ params }) => {
    // A thread that is paused already says so before it answers "enable".
    if (!isEnabled) {
      end({ isDebugged: true });
      return;
    }
    let read;
    try {
      // Before anything can throw: the inspector ignores what a listener throws, and the thread would stay paused.
      session.post('Debugger.resume');
      const frames = params.callFrames.slice(0, maxFrames).map((frame) => toFrame(frame, urls));
      if (!hasTurned()) read = { scriptFrames: frames };
    } finally {
      end(read);
    }
  });
  session.connectToMainThread();
  session.post('Debugger.enable', () => { isEnabled = true; });
  session.post('Debugger.pause');
  check = setInterval(() => { if (hasTurned()) end(); }, checkMs);
  return { stack, cancel: () => end() };
};
