// Runs Windows programs: directly on Windows, in Wine elsewhere.
import { spawn } from 'node:child_process';
import { copyFileSync, closeSync, existsSync, linkSync, mkdirSync, mkdtempSync, openSync, readSync, rmSync, statSync,
  readdirSync } from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import { buildFolder } from './build.mjs';
import { ensureWinePrefix, nodeVersions, stopWine, wine, wineEnvironment, windowsNodeFile } from './setup.mjs';
import { onWindows, root } from './shell.mjs';

/**
 * The node.exe of a release, in a folder of its own together with the test platform's DLLs, which Windows programs load
 * in preference to the system's when they stand beside the executable.
 */
export function windowsNode(version = nodeVersions.at(-1)) {
  const source = windowsNodeFile(version);
  const folder = path.join(root, 'build', 'windows', `node${version}`);
  const target = path.join(folder, 'node.exe');
  mkdirSync(folder, { recursive: true });
  if (!existsSync(target) || statSync(target).size !== statSync(source).size) {
    rmSync(target, { force: true });
    linkSync(source, target);
  }
  const platform = path.join(buildFolder, 'runtime');
  if (!onWindows && existsSync(platform)) {
    for (const name of readdirSync(platform)) copyIfNewer(path.join(platform, name), path.join(folder, name));
  }
  return target;
}

function copyIfNewer(from, to) {
  if (!existsSync(to) || statSync(from).mtimeMs > statSync(to).mtimeMs) copyFileSync(from, to);
}

/** Hands on what is appended to a file, until stop() has handed on the rest. */
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
 * Runs a Windows program, or with `host` one of this system, to its end and resolves to its exit code (Wine passes on the
 * low eight bits, and 1 where they alone are zero; death by a signal becomes 1 too). `stdout` and `stderr` are called with
 * what it prints as it comes; its own input is empty. A program that takes longer than `timeoutMs` is killed, and so is
 * one whose `signal` is aborted.
 */
export async function runProgram(program, args, options) {
  const { lane = 0, host = onWindows, cwd, stdout, stderr, timeoutMs, signal } = options;
  if (host) {
    const child = spawn(program, args, { cwd, timeout: timeoutMs, signal, stdio: ['ignore', 'pipe', 'pipe'] });
    child.stdout.on('data', stdout);
    child.stderr.on('data', stderr);
    return exitCode(child);
  }
  const prefix = ensureWinePrefix(lane);
  // Windows programs in Wine cannot write to a Unix pipe, so they write to files, and these are followed.
  const folder = mkdtempSync(path.join(os.tmpdir(), 'borvanta-run-'));
  const files = ['stdout', 'stderr'].map((name) => path.join(folder, name));
  const fds = files.map((file) => openSync(file, 'a'));
  const followers = [new FileFollower(files[0], stdout), new FileFollower(files[1], stderr)];
  try {
    return await exitCode(spawn(wine, [program, ...args], { cwd, timeout: timeoutMs, signal, killSignal: 'SIGKILL',
      env: { ...process.env, ...wineEnvironment(prefix) }, stdio: ['ignore', ...fds] }));
  } finally {
    for (const follower of followers) follower.stop();
    for (const fd of fds) closeSync(fd);
    rmSync(folder, { recursive: true, force: true });
  }
}

function exitCode(child) {
  return new Promise((resolve, reject) => {
    child.on('error', (error) => { if (error.name !== 'AbortError') reject(error); });
    child.on('close', (code) => resolve(code ?? 1));
  });
}

/**
 * Runs a script in Node.js for Windows as if this process were it: in the folder that npm was called in, with its output
 * on this process's own. It ends with this process, and when nobody reads its output any more.
 */
export async function runScript(args, version) {
  const ended = new AbortController();
  for (const name of ['SIGINT', 'SIGTERM', 'SIGHUP']) process.once(name, () => ended.abort());
  const write = (stream) => {
    stream.on('error', () => ended.abort());
    return (chunk) => { if (!ended.signal.aborted) stream.write(chunk); };
  };
  return runProgram(windowsNode(version), args, { cwd: process.env.INIT_CWD ?? process.cwd(),
    stdout: write(process.stdout), stderr: write(process.stderr), signal: ended.signal });
}

/**
 * Keeps a lane's desktop open until stopLane(), at most for an hour. Otherwise the desktop closes a second after the last
 * program, and a test's child that opens it anew hands its output pipe on to it: the test then waits in vain for that
 * pipe to close.
 */
export function holdLane(lane) {
  if (onWindows) return;
  spawn(wine, [windowsNode(), '-e', 'setTimeout(() => {}, 3_600_000)'],
    { env: { ...process.env, ...wineEnvironment(ensureWinePrefix(lane)) }, stdio: 'ignore' }).unref();
}

/** Ends every program that is still running in a lane. */
export function stopLane(lane) {
  if (!onWindows) stopWine(ensureWinePrefix(lane));
}
