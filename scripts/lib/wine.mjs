// Runs Windows programs in Wine on Debian: makes Wine prefixes, sets the environment, passes the output on.
import { spawn, spawnSync } from 'node:child_process';
import { closeSync, cpSync, existsSync, mkdirSync, mkdtempSync, openSync, readSync, renameSync, rmSync } from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import { describeEnd, endOf, onWindows, root, runAsync, say, SetupError, succeeds } from './shell.mjs';
import { wine, wineFilesEnvironment, wineServer } from './wine_files.mjs';

// Wine needs some fixed addresses. Where Linux places memory at random, about one process in 5,000 finds one of them in
// use and does not start: Windows' error 1359 (ERROR_INTERNAL_ERROR), which Node.js calls "spawn UNKNOWN". So random
// placement is turned off, unless a container forbids that.
const fixedLayout = !onWindows && succeeds('setarch', ['-R', 'true']) ? ['setarch', '-R'] : [];
const [command, ...commandArgs] = [...fixedLayout, wine];

/**
 * The environment variables of Windows programs. The locale decides how Wine reads arguments and file names. With
 * TMPDIR, Wine 10 does not start.
 */
const wineEnvironment = (prefix) => ({
  WINEPREFIX: prefix, ...wineFilesEnvironment, WINEARCH: 'win64', WINEDEBUG: '-all', LC_ALL: 'C.UTF-8',
  TMPDIR: undefined,
  // Our DbgHelp is in the executable's folder (windowsNode()). mscoree and mshtml are disabled, because otherwise a new
  // prefix opens a window and offers a download for them. winedbg is disabled so that a program that crashes ends at
  // once.
  WINEDLLOVERRIDES: 'dbghelp=n,b;mscoree,mshtml,winedbg.exe=',
});

const makers = new Map();

/**
 * Resolves to the Wine prefix of a lane, and makes it if it is missing. Each lane has its own prefix and so its own
 * registry, so tests in different lanes can run at the same time.
 */
export function winePrefix(lane = 0) {
  if (!makers.has(lane)) makers.set(lane, makePrefix(lane));
  return makers.get(lane);
}

async function makePrefix(lane) {
  const prefix = path.join(root, 'build', 'wine-prefixes', `lane-${lane}`);
  if (existsSync(prefix)) return prefix;
  // Made under another name and then renamed: so an unfinished prefix is never used, and of two processes one wins.
  mkdirSync(path.dirname(prefix), { recursive: true });
  const draft = mkdtempSync(`${prefix}.`);
  try {
    await fillPrefix(draft, lane);
    renameSync(draft, prefix);
  } catch (error) {
    rmSync(draft, { recursive: true });
    if (!existsSync(prefix)) throw error;
  }
  return prefix;
}

async function fillPrefix(draft, lane) {
  if (lane === 0) {
    say('Making the Wine prefix (about ten seconds)');
    const env = wineEnvironment(draft);
    await runAsync(command, [...commandArgs, 'wineboot', '-i'], { env });
    stopWine(draft);
  } else {
    const first = await winePrefix(0);
    stopWine(first);
    say(`Copying the Wine prefix for lane ${lane}`);
    cpSync(first, draft, { recursive: true, verbatimSymlinks: true });
  }
}

/** Ends every Windows program of a prefix and waits until its registry is on disk. */
export function stopWine(prefix) {
  const env = { ...process.env, ...wineEnvironment(prefix) };
  spawnSync(wineServer, ['-k'], { env, stdio: 'ignore' });
  spawnSync(wineServer, ['-w'], { env, stdio: 'ignore' });
}

/** Passes everything that is appended to a file to `sink`, until stop() has passed on the rest. */
class FileFollower {
  constructor(file, sink) {
    this.fd = openSync(file, 'r');
    this.sink = sink;
    this.buffer = Buffer.alloc(1 << 16);
    this.timer = setInterval(() => this.drain(), 30);
  }

  drain() {
    for (;;) {
      const count = readSync(this.fd, this.buffer, 0, this.buffer.length, null);
      if (count === 0) return;
      this.sink(Buffer.from(this.buffer.subarray(0, count)));
    }
  }

  stop() {
    clearInterval(this.timer);
    this.drain();
    closeSync(this.fd);
  }
}

/**
 * Runs a Windows program in a lane. Resolves to the low eight bits of its exit code, or to 1 if the code is not 0 but
 * these bits are; if a signal ended it, to the signal's name. `stdout` and `stderr` are called with each piece of
 * output, at once. The program's standard input is empty. The other options are those of child_process.spawn.
 */
export async function runInWine(program, args, { lane, stdout, stderr, env, ...options }) {
  const prefix = await winePrefix(lane);
  // Windows programs in Wine cannot write to a Unix pipe. So they write to files, which this process reads meanwhile.
  const folder = mkdtempSync(path.join(os.tmpdir(), 'borvanta-run-'));
  const files = ['stdout', 'stderr'].map((name) => path.join(folder, name));
  const fds = files.map((file) => openSync(file, 'a'));
  const followers = [new FileFollower(files[0], stdout), new FileFollower(files[1], stderr)];
  try {
    return await endOf(spawn(command, [...commandArgs, program, ...args], { ...options, killSignal: 'SIGKILL',
      env: { ...process.env, ...wineEnvironment(prefix), ...env }, stdio: ['ignore', ...fds] }));
  } finally {
    for (const follower of followers) follower.stop();
    for (const fd of fds) closeSync(fd);
    rmSync(folder, { recursive: true, force: true });
  }
}

/**
 * Opens the Wine desktop of a lane and keeps it open until stopWine(), or for an hour. Resolves when it is open.
 *
 * Without this, the desktop's process ends a second after the last program, and the next program starts it again. If
 * that program is a child process of a test, the desktop inherits the child's output pipe, and the test waits in vain
 * for the pipe to close.
 */
export async function holdDesktop(lane, node) {
  const script = `const { load } = require('./tools/windows-node/node_modules/koffi');
    if (load('user32.dll').func('size_t GetDesktopWindow()')() !== 0) console.log('open');
    setTimeout(() => {}, 3_600_000);`;
  const printed = [];
  let late;
  await new Promise((resolve, reject) => {
    const fail = (reason) => reject(
      new SetupError(`Wine's desktop in lane ${lane} did not open: ${reason}\n${printed.join('')}`));
    late = setTimeout(() => fail('not within a minute'), 60_000);
    runInWine(node, ['-e', script], { lane, cwd: root, stdout: resolve, stderr: (chunk) => printed.push(chunk) })
      .then((end) => fail(describeEnd(end)), fail);
  }).finally(() => clearTimeout(late));
}
