// Runs Windows programs: directly on Windows, in Wine elsewhere.
import { spawn } from 'node:child_process';
import { copyFileSync, existsSync, linkSync, mkdirSync, readdirSync, readFileSync, rmSync, statSync } from 'node:fs';
import path from 'node:path';
import { buildFolder } from './build.mjs';
import { nodeVersions, windowsNodeFile } from './setup.mjs';
import { describeEnd, endOf, onWindows, root, say } from './shell.mjs';
import { runInWine } from './wine.mjs';

/**
 * The path of a release's node.exe, in a folder together with the DLLs of tests/stand_ins/, which are in the folder
 * `standIns`. A Windows program prefers the DLLs of its own folder to those of the system. On Windows there are no
 * stand-ins.
 */
export function windowsNode(version = nodeVersions.at(-1), standIns = path.join(buildFolder(), 'runtime')) {
  const source = windowsNodeFile(version);
  if (onWindows) return source;
  const folder = path.join(root, 'build', 'windows', `node${version}`);
  const target = path.join(folder, 'node.exe');
  mkdirSync(folder, { recursive: true });
  if (!existsSync(target) || statSync(target).size !== statSync(source).size) {
    rmSync(target, { force: true });
    linkSync(source, target);
  }
  if (existsSync(standIns)) {
    for (const name of readdirSync(standIns)) copyIfChanged(path.join(standIns, name), path.join(folder, name));
  }
  return target;
}

function copyIfChanged(from, to) {
  if (!existsSync(to) || !readFileSync(from).equals(readFileSync(to))) copyFileSync(from, to);
}

/**
 * Runs a Windows program, or with `host` a program of this system, to its end. Resolves to how it ended (see
 * runInWine). `stdout` and `stderr` are called with each piece of output, at once. The program's standard input is
 * empty. The program is killed when `signal` is aborted.
 */
export async function runProgram(program, args, { lane = 0, host = onWindows, stdout, stderr, env, ...options }) {
  if (!host) return runInWine(program, args, { lane, stdout, stderr, env, ...options });
  const child = spawn(program, args,
    { ...options, env: { ...process.env, ...env }, stdio: ['ignore', 'pipe', 'pipe'] });
  child.stdout.on('data', stdout);
  child.stderr.on('data', stderr);
  return endOf(child);
}

/**
 * Runs a Windows program in place of this process: in the folder in which npm was called, with its output on this
 * process's stdout and stderr. The program ends with this process, and when nobody reads its output any more. Resolves
 * to its exit code. If that is not 0, says so: a program that crashes often ends without a word.
 */
export async function runHere(program, args) {
  const ended = new AbortController();
  for (const name of ['SIGINT', 'SIGTERM', 'SIGHUP']) process.once(name, () => ended.abort());
  const write = (stream) => {
    stream.on('error', () => ended.abort());
    return (chunk) => { if (!ended.signal.aborted) stream.write(chunk); };
  };
  const cwd = process.env.INIT_CWD ?? process.cwd();
  const end = await runProgram(program, args, { cwd, stdout: write(process.stdout),
    stderr: write(process.stderr), signal: ended.signal });
  if (end !== 0 && !ended.signal.aborted) say(`${path.basename(program)} ended with ${describeEnd(end)}`);
  return typeof end === 'number' ? end : 1;
}

/** Like runHere(), for a script in a release of Node.js for Windows. */
export const runScript = (args, version) => runHere(windowsNode(version), args);
