'use strict';
// Starts and ends many real processes.
const { spawn } = require('node:child_process');
const { once } = require('node:events');

/** Ends a child, if it has not ended yet, and resolves when it is gone. */
const end = async (child) => {
  if (child.exitCode !== null || child.signalCode !== null) return;
  child.kill();
  await once(child, 'exit');
};

/**
 * Starts `program` `count` times and resolves to a function that ends all these processes. When this process ends, they
 * end by themselves.
 */
exports.startProcesses = async (program, count) => {
  const children = await Promise.all(Array.from({ length: count }, () => new Promise((resolve, reject) => {
    const child = spawn(program, [String(process.pid)], { stdio: 'ignore' });
    child.on('error', reject);
    child.on('spawn', () => resolve(child));
  })));
  return () => Promise.all(children.map(end));
};
