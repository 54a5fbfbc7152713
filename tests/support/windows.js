'use strict';
// Helpers for tests that run in Node.js for Windows.
const { execFile, spawn } = require('node:child_process');
const { once } = require('node:events');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const readline = require('node:readline');
const { promisify } = require('node:util');
const captureFields = require('../../lib/capture_fields.js');
const { inTime } = require('./waiting.js');

const root = path.resolve(__dirname, '..', '..');

/** The folder with the programs of the tested build. scripts/lib/test_folders.mjs says where tests run. */
exports.buildFolder = ['mingw', 'msvc', 'clang'].map((name) => path.join(root, 'build', name))
  .find((folder) => fs.existsSync(folder));

/** The tested module. */
exports.modulePath = path.join(root, 'prebuilds', 'win32-x64', 'borvanta-util.node');
exports.load = () => require(exports.modulePath);

/** Calls a function whose last parameter is a callback and resolves to the callback's argument. */
exports.call = (start, ...args) => inTime('a callback', new Promise((resolve) => {
  start(...args, resolve);
}));

/** scripts/lib/test_file.mjs says why test processes run without V8's threads. Scripts that they start do so too. */
const nodeOptions = process.execArgv.filter((option) => option === '--single-threaded');

const scriptSource = (body, module) => `'use strict'; const util = ${module && `require(${JSON.stringify(module)})`};
  const print = (value) => process.stdout.write(JSON.stringify(value) + '\\n');
  (async () => { ${body} })();`;

/**
 * Runs `body` in a new Node.js process and resolves to the values that it printed. In `body`, `util` is the module
 * (null with `module: null`), and print(value) prints a value as a line of JSON. If the exit code is not 0, rejects
 * with an error whose `code` is the exit code.
 */
exports.runScript = async (body, { execPath = process.execPath, module = exports.modulePath } = {}) => {
  const running = promisify(execFile)(execPath, [...nodeOptions, '-e', scriptSource(body, module)]);
  const { stdout } = await inTime('the end of a script', running).finally(() => running.child.kill());
  return stdout.split('\n').filter(Boolean).map((line) => JSON.parse(line));
};

/**
 * Starts a program. next() resolves to the next value that the program prints as a line of JSON, and rejects if the
 * program ends instead. kill() ends the program as a crash would, and resolves when it has ended.
 */
const startProgram = (program, args) => {
  const child = spawn(program, args, { stdio: ['ignore', 'pipe', 'inherit'] });
  const closed = once(child, 'close');
  const lines = readline.createInterface({ input: child.stdout })[Symbol.asyncIterator]();
  return {
    next: async () => {
      const { value } = await inTime(`a line from ${program}`, lines.next());
      if (value === undefined) throw new Error(`${program} ended: exit code and signal are ${await closed}`);
      return JSON.parse(value);
    },
    kill: () => child.kill('SIGKILL') && inTime(`the end of ${program}`, closed),
  };
};

/** Starts `body` like runScript, but does not wait for its end (see startProgram). */
exports.startScript = (body) => startProgram(process.execPath,
  [...nodeOptions, '-e', scriptSource(body, exports.modulePath)]);

/**
 * Starts a process that stalls `depth` calls deep and ends after `lifetime` milliseconds. Resolves when it stalls, to
 * { processId, threadId, otherThreadId, kill }.
 */
exports.startStallTarget = async (depth = 1, lifetime = 600_000) => {
  const { next, kill } = startProgram(path.join(exports.buildFolder, 'targets', 'stall_target.exe'),
    [depth, lifetime].map(String));
  return { ...await next(), kill };
};

/** Makes a folder that is removed after the test `t`. If `t` is the function `test`, it is removed after all tests. */
exports.temporaryFolder = (t) => {
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'borvanta-'));
  t.after(() => fs.rmSync(folder, { recursive: true, force: true, maxRetries: 5 }));
  return folder;
};

/** Returns random(end), which returns whole numbers below `end`. The same seed always gives the same numbers. */
exports.randomNumbers = (seed) => {
  let state = seed;
  return (end) => {
    state = (Math.imul(state, 1664525) + 1013904223) >>> 0;
    return Math.floor((state / 2 ** 32) * end);
  };
};

/** Valid arguments for captureNativeJank. Without an override, most strings are the names of their properties. */
exports.captureArgs = (overrides) => ({
  ...Object.fromEntries(captureFields.map(({ property, type }) => (
    [property, { number: 0, string: property, boolean: false }[type]]))),
  janksDir: 'Q:\\直播 \ud800', uptime: 0.1 + 0.2, duration: 1500, ...overrides,
});
