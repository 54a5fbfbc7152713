'use strict';
// Real processes in number.
const { spawn } = require('node:child_process');

/** Starts so many small processes and resolves to a function that ends them. They end by themselves with this one. */
exports.startProcesses = async (program, count) => {
  const children = await Promise.all(Array.from({ length: count }, () => new Promise((resolve, reject) => {
    const child = spawn(program, [String(process.pid)], { stdio: 'ignore' });
    child.on('error', reject);
    child.on('spawn', () => resolve(child));
  })));
  return () => Promise.all(children.map((child) => new Promise((resolve) => {
    child.on('exit', resolve);
    child.kill();
  })));
};
