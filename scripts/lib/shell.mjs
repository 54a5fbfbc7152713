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

/** Prints what a failed command printed, and returns a SetupError that names the command. */
function commandError(command, args, { stdout, stderr, error }) {
  say(`${stdout ?? ''}${stderr ?? ''}`.trim());
  return new SetupError(`Failed: ${[command, ...args].join(' ')}${error ? ` (${error.message})` : ''}`);
}

const settings = (options) => ({
  cwd: root, encoding: 'utf8', maxBuffer: 1 << 28, ...options, env: { ...process.env, ...options.env },
});

/** Runs a command to its end and returns its stdout. If it fails, shows its output and throws a SetupError. */
export function run(command, args, options = {}) {
  const result = spawnSync(command, args, { stdio: ['ignore', 'pipe', 'pipe'], ...settings(options) });
  if (result.error || result.status !== 0) throw commandError(command, args, result);
  return result.stdout;
}

/** Like run(), but asynchronous: resolves to the stdout. */
export function runBeside(command, args, options = {}) {
  return new Promise((resolve, reject) => {
    execFile(command, args, settings(options), (error, stdout, stderr) => {
      if (error) {
        reject(commandError(command, args,
          { stdout, stderr, error: typeof error.code === 'number' ? undefined : error }));
      } else resolve(stdout);
    }).stdin.end();
  });
}

/** Resolves to a child process's exit code, or to 1 if a signal ended the process. */
export function exitCode(child) {
  return new Promise((resolve, reject) => {
    child.on('error', (error) => { if (error.name !== 'AbortError') reject(error); });
    child.on('close', (code) => resolve(code ?? 1));
  });
}

/** Returns true if the command exists and succeeds. Shows nothing. */
export function succeeds(command, args) {
  return spawnSync(command, args, { stdio: 'ignore' }).status === 0;
}
