'use strict';

const { isMainThread } = require('node:worker_threads');
const inspector = require('./inspector.js');

/** Throws in a script worker, with the code that Node.js uses for this. `name` is the function that was called. */
exports.checkMainThread = (name) => {
  if (isMainThread) return;
  throw Object.assign(new Error(`${name}() is for the main thread of the process, not for script workers`),
    { code: 'ERR_WORKER_UNSUPPORTED_OPERATION' });
};

/**
 * Lets Node.js trace for a moment and resolves to the events. Other traces, by other sessions or by
 * --trace-event-categories, go on. They only get the events about the process once more.
 */
function traceBriefly(session) {
  return new Promise((resolve, reject) => {
    const events = [];
    const check = (error) => { if (error) reject(error); };
    session.on('NodeTracing.dataCollected', ({ params }) => { events.push(...params.value); });
    session.on('NodeTracing.tracingComplete', () => { resolve(events); });
    session.post('NodeTracing.start', { traceConfig: { includedCategories: ['__metadata'] } }, check);
    session.post('NodeTracing.stop', check);
  });
}

/** Opens a session. If that is denied or impossible, the error says what to do instead. */
function openSession() {
  try {
    if (!inspector) throw new Error('This build of Node.js has no inspector');
    const session = new inspector.Session();
    session.connect();
    return session;
  } catch (error) {
    error.message += ' (so the id of the main thread cannot be found out: pass it as threadId)';
    throw error;
  }
}

exports.mainThreadId = async () => {
  exports.checkMainThread('mainThreadId');
  const session = openSession();
  try {
    const main = (await traceBriefly(session))
      .find(({ name, args }) => name === 'thread_name' && args.name === 'JavaScriptMainThread');
    if (!main) throw new Error('This build of Node.js does not report the id of its main thread');
    return main.tid;
  } finally {
    session.disconnect();
  }
};
