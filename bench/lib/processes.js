'use strict';
// Real processes in number.
const { spawn } = require('node:child_process');
const { once } = require('node:events');

/** Ends a child, if it has not ended yet, and resolves when it is gone. */
const end = async (child) => {
  if (child.exitCode !== null || child.signalCode !== null) return;
  child.kill();
  await once(child, 'exit');
};
exports.end = end;

/** Starts so many small processes and resolves to a function that ends them. They end by themselves with this one. */
exports.startProcesses = async (program, count) => {
  const children = await Promise.all(Array.from({ length: count }, () => new Promise((resolve, reject) => {
    const child = spawn(program, [String(process.pid)], { stdio: 'ignore' });
    child.on('error', reject);
    child.on('spawn', () => resolve(child));
  })));
  return () => Promise.all(children.map(end));
};
