// Runs Windows programs: directly on Windows, in Wine elsewhere.
import { spawn } from 'node:child_process';
import { copyFileSync, closeSync, existsSync, linkSync, mkdirSync, mkdtempSync, openSync, readSync, rmSync, statSync,
  readdirSync } from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import { buildFolder } from './build.mjs';
import { ensureWinePrefix, stopWine, wine, wineEnvironment } from './setup.mjs';
import { onWindows, root } from './shell.mjs';

/** The releases of Node.js that the module is tested in, the one that runs by default last. */
export const nodeVersions = ['18', '20', '22'];

/**
 * The node.exe of a release, in a folder of its own together with the test platform's DLLs, which Windows programs load
 * in preference to the system's when they stand beside the executable.
 */
export function windowsNode(version = nodeVersions.at(-1)) {
  const source = path.join(root, 'tools', 'windows-node', 'node_modules', `node${version}`, 'bin', 'node.exe');
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
 * Runs a Windows program to its end and resolves to its exit code (Wine passes on the low eight bits; a code whose low
 * bits are all zero, and death by a signal, become 1). `stdout` and `stderr` are called with what it prints as it comes.
 * A program that takes longer than `timeoutMs` is killed.
 */
export async function runWindows(program, args, { lane = 0, env = {}, cwd, stdout, stderr, timeoutMs } = {}) {
  if (onWindows) {
    return new Promise((resolve, reject) => {
      const child = spawn(program, args, { cwd, env: { ...process.env, ...env }, timeout: timeoutMs,
        stdio: ['ignore', 'pipe', 'pipe'] });
      child.stdout.on('data', stdout);
      child.stderr.on('data', stderr);
      child.on('error', reject);
      child.on('close', (code) => resolve(code ?? 1));
    });
  }
  const prefix = ensureWinePrefix(lane);
  // Windows programs in Wine cannot write to a Unix pipe, so they write to files, and these are followed.
  const folder = mkdtempSync(path.join(os.tmpdir(), 'borvanta-run-'));
  const files = ['stdout', 'stderr'].map((name) => path.join(folder, name));
  const fds = files.map((file) => openSync(file, 'a'));
  const followers = [new FileFollower(files[0], stdout), new FileFollower(files[1], stderr)];
  try {
    return await new Promise((resolve, reject) => {
      const child = spawn(wine, [program, ...args], { cwd, timeout: timeoutMs, killSignal: 'SIGKILL',
        env: { ...process.env, ...wineEnvironment(prefix), ...env }, stdio: ['ignore', ...fds] });
      child.on('error', reject);
      child.on('close', (code) => resolve(code ?? 1));
    });
  } finally {
    for (const follower of followers) follower.stop();
    for (const fd of fds) closeSync(fd);
    rmSync(folder, { recursive: true, force: true });
  }
}

/** Runs a script in the Node.js that runs this one; otherwise like runWindows. */
export function runHostNode(script, { cwd, stdout, stderr, timeoutMs }) {
  return new Promise((resolve, reject) => {
    const child = spawn(process.execPath, ['--test-reporter=tap', script], { cwd, timeout: timeoutMs,
      stdio: ['ignore', 'pipe', 'pipe'] });
    child.stdout.on('data', stdout);
    child.stderr.on('data', stderr);
    child.on('error', reject);
    child.on('close', (code) => resolve(code ?? 1));
  });
}

/** Ends every program that is still running in a lane. */
export function stopLane(lane) {
  if (!onWindows) stopWine(ensureWinePrefix(lane));
}
