'use strict';

const net = require('node:net');

/** How long to wait for a thread that does not answer: it runs native code. */
const silenceMs = 500;

/** How long to wait for an answer when the stall is over. */
const restMs = 1000;

/** How long to wait for a thread that has begun to answer. With 3,000 loaded modules it needs 0.7 s. */
const answerMs = 3000;

const wait = (ms) => new Promise((resolve) => { setTimeout(resolve, ms).unref(); });

/** Parses an answer. It is cut when the client or its stack worker has ended. */
function parse(json) {
  try {
    return JSON.parse(json);
  } catch {
    return null;
  }
}

/**
 * Asks the stack worker (stack_worker.js) at `pipe` for the script stack of the client's main thread. `lastBeat` is the
 * number of the last heartbeat that came. `over` resolves when the stall is over. Returns two promises, which never
 * reject:
 *
 * - `stack`: { scriptFrames, scriptFramesLate, isDebugged, readAt }. It waits until the thread has answered or
 *   the stall is over. `scriptFrames` is empty if there is no stack. `isDebugged`: the thread is paused by somebody
 *   else. `readAt`: the time at which the stack was read.
 * - `inTime`: the same, or undefined when the thread seems to run native code. A stack that comes after that is late.
 */
exports.askForStack = (pipe, { lastBeat, over }) => {
  if (!pipe) {
    const none = Promise.resolve({ scriptFrames: [], scriptFramesLate: false });
    return { stack: none, inTime: none };
  }
  let json = '';
  let late = false;
  const socket = net.connect(pipe, () => socket.write(`${lastBeat}`)).setEncoding('utf8');
  socket.on('error', () => {});
  const closed = new Promise((resolve) => { socket.once('close', resolve); });
  const answering = new Promise((resolve) => {
    socket.on('data', (/** @type {any} */ text) => {
      json += text;
      if (text.endsWith('\n')) socket.destroy();
      resolve();
    });
  });
  over.then(() => wait(restMs)).then(() => socket.destroy());
  const stack = closed.then(() => {
    const { scriptFrames = [], ...rest } = parse(json) ?? {};
    return { scriptFrames, scriptFramesLate: late && scriptFrames.length > 0, ...rest };
  });
  const waitForIt = async () => {
    await Promise.race([closed, answering, wait(silenceMs)]);
    const inTime = await Promise.race([stack, wait(json ? answerMs : 0)]);
    late = true;
    return inTime;
  };
  return { stack, inTime: waitForIt() };
};
