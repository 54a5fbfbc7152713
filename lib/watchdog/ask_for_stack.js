'use strict';

const net = require('node:net');

/** How long to wait for a thread that does not answer: it runs native code. */
const silenceMs = 500;

/** A thread that takes longer to answer has just come back from native code: the loop may turn within turnMs. */
const promptMs = 100;
const turnMs = 100;

/** How long to wait for an answer when the stall is over, and for the worker to withdraw a request. */
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
 * Asks the stack worker (stack_worker.js) at `pipe`. `begun` resolves when the thread begins to answer. `closed`
 * resolves when the connection is closed; `answer` is set then, or null if there is none.
 */
class Question {
  #json = '';
  #socket;
  hasBegun = false;
  /** @type {any} */
  answer = null;

  constructor(pipe, lastBeat) {
    const socket = net.connect(pipe, () => socket.write(`${lastBeat}`)).setEncoding('utf8');
    this.#socket = socket;
    socket.on('error', () => {});
    this.begun = new Promise((resolve) => {
      socket.on('data', (/** @type {any} */ text) => {
        this.#json += text;
        this.hasBegun = true;
        if (text.endsWith('\n')) socket.destroy();
        resolve();
      });
    });
    this.closed = new Promise((resolve) => {
      socket.once('close', () => {
        this.answer = parse(this.#json);
        resolve();
      });
    });
  }

  /** The worker answers this at once. */
  withdraw() { this.#socket.write('withdraw'); }

  close() { this.#socket.destroy(); }
}

/** Stands for a question where there is no stack worker. */
const unanswered = { hasBegun: false, answer: null, begun: undefined, closed: undefined, withdraw() {}, close() {} };

/**
 * The request for the script stack of the client's main thread in one stall. A request is pending until the thread
 * comes back to script: then it pauses for its stack. So the thread may be paused at any time while one is pending.
 */
exports.StackRequest = class StackRequest {
  #pipe;
  #stall;
  #question;
  #isLate = false;
  #isWithdrawn = false;

  /** Asks the stack worker at `pipe`. Without a pipe there is no stack. `stall` is a Stall (stall.js). */
  constructor(pipe, stall) {
    this.#pipe = pipe;
    this.#stall = stall;
    this.#question = this.#ask();
  }

  #ask() { return this.#pipe ? new Question(this.#pipe, this.#stall.lastBeat) : unanswered; }

  /** What there is so far. `scriptFrames` is empty if there is no stack. */
  get stack() {
    const { scriptFrames = [] } = this.#question.answer ?? {};
    return { scriptFrames, scriptFramesLate: this.#isLate && scriptFrames.length > 0 };
  }

  /** True if somebody else has paused the thread. */
  get isDebugged() { return this.#question.answer?.isDebugged === true; }

  /**
   * Resolves when the thread has answered and the stall does not seem to be over, or when the thread seems to run
   * native code. An answer after that is late.
   */
  async inTime() {
    const { begun, closed } = this.#question;
    const askedAt = performance.now();
    await Promise.race([closed, begun, wait(silenceMs)]);
    const isPrompt = performance.now() - askedAt < promptMs;
    await this.#restOfAnswer();
    this.#isLate = !this.#question.answer;
    if (!this.#isLate && !isPrompt) await Promise.race([this.#stall.over, wait(turnMs)]);
  }

  /** Resolves at once if the thread has not begun to answer. */
  async #restOfAnswer() {
    if (this.#question.hasBegun) await Promise.race([this.#question.closed, wait(answerMs)]);
  }

  /** Resolves when nothing is pending any more: the thread does not pause after that. */
  async withdraw() {
    await this.#restOfAnswer();
    const question = this.#question;
    if (question.answer) return;
    this.#isWithdrawn = true;
    question.withdraw();
    await Promise.race([question.closed, wait(restMs)]);
    question.close();
  }

  /** Makes the request anew if it was withdrawn. */
  renew() {
    if (!this.#isWithdrawn || this.#question.answer) return;
    this.#isWithdrawn = false;
    this.#question = this.#ask();
  }

  /** Resolves when the thread has answered, or soon after the stall is over. */
  async settled() {
    const question = this.#question;
    await Promise.race([question.closed, this.#stall.over.then(() => wait(restMs))]);
    question.close();
    await question.closed;
  }
};
