'use strict';
// Starts the programs that the tour shows.
const { spawn } = require('node:child_process');
const { once } = require('node:events');
const path = require('node:path');
const readline = require('node:readline');

/**
 * Starts a program that prints a line of JSON and goes on. Resolves to its child process and the printed value. Rejects
 * if it ends first, or prints nothing for ten seconds.
 */
exports.startProgram = async (program, ...args) => {
  const child = spawn(program, args, { stdio: ['ignore', 'pipe', 'inherit'] });
  const ended = once(child, 'close');
  const timer = setTimeout(() => child.kill(), 10_000);
  const { value: line } = await readline.createInterface({ input: child.stdout })[Symbol.asyncIterator]().next();
  clearTimeout(timer);
  if (line) return { child, value: JSON.parse(line) };
  const [code, signal] = await ended;
  const end = signal ? 'printed nothing for ten seconds and was ended' : `ended with exit code ${code}`;
  throw new Error(`${path.basename(program)} ${end}`);
};
