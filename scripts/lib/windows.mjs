// Runs Windows programs: directly on Windows, in Wine elsewhere.
import { spawn } from 'node:child_process';
import { copyFileSync, existsSync, linkSync, mkdirSync, readdirSync, rmSync, statSync } from 'node:fs';
import path from 'node:path';
import { buildFolder } from './build.mjs';
import { nodeVersions, windowsNodeFile } from './setup.mjs';
import { exitCode, onWindows, root } from './shell.mjs';
import { runInWine } from './wine.mjs';

/**
 * The node.exe of a release, in a folder together with the test platform's DLLs, which Windows programs load in preference
 * to the system's when they stand beside the executable.
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
  const platform = path.join(buildFolder(), 'runtime');
  if (!onWindows && existsSync(platform)) {
    for (const name of readdirSync(platform)) copyIfNewer(path.join(platform, name), path.join(folder, name));
  }
  return target;
}

function copyIfNewer(from, to) {
  if (!existsSync(to) || statSync(from).mtimeMs > statSync(to).mtimeMs) copyFileSync(from, to);
}

/**
 * Runs a Windows program, or with `host` one of this system, to its end and resolves to its exit code (see runInWine).
 * `stdout` and `stderr` are called with what it prints as it comes; its own input is empty. A program that takes longer than
 * `timeout` milliseconds is killed, and so is one whose `signal` is aborted.
 */
export async function runProgram(program, args, { lane = 0, host = onWindows, stdout, stderr, env, ...options }) {
  if (!host) return runInWine(program, args, { lane, stdout, stderr, env, ...options });
  const child = spawn(program, args, { ...options, env: { ...process.env, ...env }, stdio: ['ignore', 'pipe', 'pipe'] });
  child.stdout.on('data', stdout);
  child.stderr.on('data', stderr);
  return exitCode(child);
}

/**
 * Runs a Windows program as if this process were it: in the folder that npm was called in, with its output on this
 * process's own. It ends with this process, and when nobody reads its output any more.
 */
export async function runHere(program, args) {
  const ended = new AbortController();
  for (const name of ['SIGINT', 'SIGTERM', 'SIGHUP']) process.once(name, () => ended.abort());
  const write = (stream) => {
    stream.on('error', () => ended.abort());
    return (chunk) => { if (!ended.signal.aborted) stream.write(chunk); };
  };
  return runProgram(program, args, { cwd: process.env.INIT_CWD ?? process.cwd(), stdout: write(process.stdout),
    stderr: write(process.stderr), signal: ended.signal });
}

/** Runs a script in a release of Node.js for Windows as if this process were it. */
export const runScript = (args, version) => runHere(windowsNode(version), args);
