'use strict';
// What script tests share. They run in Node.js for Windows.
const { spawn } = require('node:child_process');
const fs = require('node:fs');
const path = require('node:path');
const readline = require('node:readline');

const root = path.resolve(__dirname, '..', '..');

/** The build that is tested: the folder of build/ that BORVANTA_BUILD names, or else the one that ships. */
const build = process.env.BORVANTA_BUILD;
exports.buildFolder = [build ?? 'mingw', 'msvc'].map((name) => path.join(root, 'build', name))
  .find((folder) => fs.existsSync(folder));

/** The built module. */
exports.modulePath = path.join(build ? path.join(exports.buildFolder, 'module') : path.join(root, 'prebuilds', 'win32-x64'),
  'borvanta-util.node');
exports.load = () => require(exports.modulePath);

/** Calls a function whose last parameter is a callback and resolves to the callback's argument. */
exports.call = (start, ...args) => new Promise((resolve) => {
  start(...args, resolve);
});

const scriptSource = (body, module) => `'use strict'; const util = ${module && `require(${JSON.stringify(module)})`};
  const print = (value) => process.stdout.write(JSON.stringify(value) + '\\n');
  (async () => { ${body} })();`;

/**
 * Runs `body` in a Node.js process of its own, with `util` (the module, or undefined with `module: null`) and `print`
 * (one value as JSON) in scope, and resolves to what it printed, parsed. Rejects when the process ends with a failure
 * code.
 */
exports.runScript = (body, { execPath = process.execPath, module = exports.modulePath } = {}) => {
  return new Promise((resolve, reject) => {
    const child = spawn(execPath, ['-e', scriptSource(body, module)]);
    let stdout = '';
    let stderr = '';
    child.stdout.on('data', (chunk) => { stdout += chunk; });
    child.stderr.on('data', (chunk) => { stderr += chunk; });
    child.on('error', reject);
    child.on('close', (code, signal) => {
      if (code !== 0) reject(new Error(`exit code ${code ?? signal}: ${stderr}${stdout}`));
      else resolve(stdout.split('\n').filter(Boolean).map((line) => JSON.parse(line)));
    });
  });
};

/**
 * Starts `body` like runScript and leaves it running: next() resolves to the next value that it prints, kill() ends it as
 * a crash would and resolves when it is gone.
 */
exports.startScript = (body) => {
  const child = spawn(process.execPath, ['-e', scriptSource(body, exports.modulePath)],
    { stdio: ['ignore', 'pipe', 'inherit'] });
  const closed = new Promise((resolve) => { child.on('close', resolve); });
  const lines = readline.createInterface({ input: child.stdout })[Symbol.asyncIterator]();
  return {
    next: async () => JSON.parse((await lines.next()).value),
    kill: async () => {
      child.kill('SIGKILL');
      await closed;
    },
  };
};
