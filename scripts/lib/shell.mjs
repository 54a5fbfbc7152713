// Runs commands and prints messages for the user. All messages go to stderr: stdout belongs to the programs that are
// run.
import { execFile, spawnSync } from 'node:child_process';
import path from 'node:path';
import { fileURLToPath } from 'node:url';
import { parseArgs } from 'node:util';

/** The project's root folder. */
export const root = path.resolve(path.dirname(fileURLToPath(import.meta.url)), '..', '..');

export const onWindows = process.platform === 'win32';

/** Prints a message on stderr, for instance before a step that takes a while. */
export function say(text) {
  process.stderr.write(`${text}\n`);
}

/** An error that the user can fix: its message is shown without a stack. */
export class SetupError extends Error {}

/** Runs `main` and ends the process with its exit code; shows a SetupError without its stack. */
export async function runMain(main) {
  try {
    process.exitCode = (await main()) ?? 0;
  } catch (error) {
    say(error instanceof SetupError ? error.message : error.stack);
    process.exitCode = 1;
  }
}

/**
 * Returns the options and the other arguments of this command, in the form of util.parseArgs(). Throws a SetupError
 * with `usage` for an unknown option, and for other arguments unless `allowPositionals`.
 */
export function readArguments(usage, { options = {}, allowPositionals = false } = {}) {
  try {
    return parseArgs({ options, allowPositionals });
  } catch (error) {
    throw new SetupError(`${error.message.split('. ')[0]}.\nUsage: ${usage}`);
  }
}

/** Prints what a failed command printed, and returns a SetupError that says which command failed and why. */
function commandError(command, args, why, stdout, stderr) {
  say(`${stdout ?? ''}${stderr ?? ''}`.trim());
  return new SetupError(`Failed (${why}): ${[command, ...args].join(' ')}`);
}

const settings = (options) => ({
  cwd: root, encoding: 'utf8', maxBuffer: 1 << 28, ...options, env: { ...process.env, ...options.env },
});

/** Runs a command to its end and returns its stdout. If it fails, shows its output and throws a SetupError. */
export function run(command, args, options = {}) {
  const { error, status, signal, stdout, stderr } = spawnSync(command, args,
    { stdio: ['ignore', 'pipe', 'pipe'], ...settings(options) });
  if (!error && status === 0) return stdout;
  throw commandError(command, args, error?.message ?? describeEnd(status ?? signal), stdout, stderr);
}

/** Like run(), but asynchronous: resolves to the stdout. */
export function runAsync(command, args, options = {}) {
  return new Promise((resolve, reject) => {
    execFile(command, args, settings(options), (error, stdout, stderr) => {
      if (!error) return resolve(stdout);
      const { code, signal, message } = error;
      const why = typeof code === 'string' ? message : describeEnd(code ?? signal);
      reject(commandError(command, args, why, stdout, stderr));
    }).stdin.end();
  });
}

/** Resolves to a child process's exit code, or to the name of the signal that ended the process. */
export function endOf(child) {
  return new Promise((resolve, reject) => {
    child.on('error', (error) => { if (error.name !== 'AbortError') reject(error); });
    child.on('close', (code, signal) => resolve(code ?? signal));
  });
}

/** Says how a program ended: `end` is an exit code or the name of a signal. */
export const describeEnd = (end) => (typeof end === 'number' ? `exit code ${end}` : `signal ${end}`);

/** Returns true if the command exists and succeeds. Shows nothing. */
export function succeeds(command, args) {
  return spawnSync(command, args, { stdio: 'ignore' }).status === 0;
}
