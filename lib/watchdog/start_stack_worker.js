'use strict';

const { randomUUID } = require('node:crypto');
const path = require('node:path');
const { Worker } = require('node:worker_threads');
const inspector = require('./inspector.js');

/** Neither the environment nor the options of the client, so that nothing of the client is loaded into the worker. */
const settings = { name: 'borvanta-util', env: {}, execArgv: [], stdout: true, stderr: true };

/** Far more than a stack needs. If it is too little, the worker ends and not the client. */
const resourceLimits = { maxYoungGenerationSizeMb: 2, maxOldGenerationSizeMb: 64 };

/**
 * Starts the stack worker (stack_worker.js), which does not keep the process alive. `beats` is an Int32Array in shared
 * memory whose first element counts the heartbeats. `onEnd` is called if the worker ends by itself, with the reason.
 *
 * Returns the name of its pipe, `listening`, a promise that resolves when the watcher can connect or never will, and
 * `stop`. Returns undefined where there is no inspector, or where the permission model denies it: Node.js 22 then
 * aborts the process if a worker tries.
 */
exports.startStackWorker = (beats, onEnd) => {
  // @ts-ignore: the types are those of Node.js 18, which has no permission model.
  if (!inspector || process.permission?.has('inspector') === false) return undefined;
  const pipe = `\\\\.\\pipe\\borvanta-util-${process.pid}-${randomUUID()}`;
  const worker = new Worker(path.join(__dirname, 'stack_worker.js'), { ...settings, resourceLimits,
    workerData: { pipe, beats } });
  worker.unref();
  let reason;
  worker.once('error', (error) => { reason = error.message; });
  const listening = new Promise((resolve) => {
    worker.once('message', resolve);
    worker.once('exit', (code) => {
      resolve();
      onEnd(reason ?? `exit code ${code}`);
    });
  });
  return { pipe, listening, stop: () => worker.terminate() };
};
