'use strict';

const net = require('node:net');

/** How long to wait for a thread that does not answer: it runs native code. */
const silenceMs = 500;

/** How long to wait for a thread that has begun to answer. With 3,000 loaded modules it needs 0.7 s. */
const answerMs = 3000;

/** A thread that runs script mostly answers sooner than this. */
const promptMs = 100;

/** How long the loop may take to turn when the thread has come back from native code. */
const turnMs = 100;

/** How long to wait for an answer when the stall is over, and for the worker to withdraw a request. */
const restMs = 1000;

const wait = (ms) => new Promise((resolve) => { setTimeout(resolve, ms).unref(); });

/** Parses an answer. It is cut when the client or its stack worker has ended. */
function parse(json) {
  try {
    return JSON.parse(json);
  } catch {
    return null;
  }
}

/** A question to the stack worker (stack_worker.js) at `pipe`, over a connection of its own. */
class Question {
  #socket;
  #json = '';
  /** Settles some time after the thread has begun to answer. */
  #tooLong;

  /** True when the connection is closed. */
  isClosed = false;

  /** What the worker has answered. Null until the connection is closed, and if there is no answer. @type {any} */
  answer = null;

  constructor(pipe, lastBeat) {
    const socket = net.connect(pipe, () => socket.write(`${lastBeat}`)).setEncoding('utf8');
    this.#socket = socket;
    socket.on('error', () => {});
    /** Resolves when the connection is closed. */
    this.closed = new Promise((resolve) => {
      socket.once('close', () => {
        this.isClosed = true;
        this.answer = parse(this.#json);
        resolve();
      });
    });
    /** Resolves when the thread begins to answer. */
    this.begun = new Promise((resolve) => {
      socket.on('data', (/** @type {any} */ text) => {
        this.#json += text;
        this.#tooLong ??= wait(answerMs);
        if (text.endsWith('\n')) socket.destroy();
        resolve();
      });
    });
  }

  /** Resolves when an answer that has begun is whole, or takes too long. */
  async rest() { if (this.#tooLong) await Promise.race([this.closed, this.#tooLong]); }

  /** Resolves when nothing is asked any more. The worker confirms it, if it can run at all. */
  async withdraw() {
    this.#socket.write('withdraw');
    await Promise.race([this.closed, wait(restMs)]);
    await this.close();
  }

  async close() {
    this.#socket.destroy();
    await this.closed;
  }
}

/**
 * The request for the script stack of the client's main thread in one stall. It is pending until the thread comes back
 * to script, and then pauses the thread: so the thread may be paused at any time while a request is pending.
 */
exports.StackRequest = class StackRequest {
  #ask;
  #stall;
  /** @type {Question | undefined} */
  #question;
  #isPrompt = false;
  #isLate = false;
  #isWithdrawn = false;

  /** Asks the stack worker at `pipe`. Without a pipe there is no stack. `stall` is a Stall (stall.js). */
  constructor(pipe, stall) {
    this.#ask = () => (pipe ? new Question(pipe, stall.lastBeat) : undefined);
    this.#stall = stall;
    this.#question = this.#ask();
  }

  /** What there is so far. `scriptFrames` is empty if there is no stack. */
  get stack() {
    const { scriptFrames = [] } = this.#question?.answer ?? {};
    return { scriptFrames, scriptFramesLate: this.#isLate && scriptFrames.length > 0 };
  }

  /** True if somebody else has paused the thread. */
  get isDebugged() { return this.#question?.answer?.isDebugged === true; }

  /** Resolves when there is an answer, or none is to be expected soon. An answer after that is late. */
  async inTime() {
    if (!this.#question) return;
    const { begun, closed } = this.#question;
    const askedAt = performance.now();
    await Promise.race([closed, begun, wait(silenceMs)]);
    this.#isPrompt = performance.now() - askedAt < promptMs;
    await this.#question.rest();
    this.#isLate = !this.#question.answer;
  }

  /**
   * To be called before the thread is frozen. Resolves when the request cannot pause the thread any more, or when the
   * worker does not even run. If the thread seems to have come back from native code, the loop gets time to turn.
   */
  async withdraw() {
    const question = this.#question;
    if (!question) return;
    await question.rest();
    if (!question.isClosed) {
      await question.withdraw();
      this.#isWithdrawn = !question.answer;
    }
    if (this.#isWithdrawn || (this.#isPrompt && question.answer)) return;
    await Promise.race([this.#stall.over, wait(turnMs)]);
  }

  /** Makes the request anew if it was withdrawn and the stall goes on. */
  renew() {
    if (!this.#isWithdrawn || this.#stall.isOver) return;
    this.#isWithdrawn = false;
    this.#question = this.#ask();
  }

  /** Resolves when there is an answer, or soon after the stall is over. */
  async settled() {
    await Promise.race([this.#question?.closed, this.#stall.over.then(() => wait(restMs))]);
    await this.#question?.close();
  }
};
