// Running commands and talking to the person in front of the terminal. All talk goes to stderr: stdout belongs to what
// is run.
import { execFile, spawnSync } from 'node:child_process';
import path from 'node:path';
import { fileURLToPath } from 'node:url';
import { parseArgs } from 'node:util';

/** The project's root folder. */
export const root = path.resolve(path.dirname(fileURLToPath(import.meta.url)), '..', '..');

export const onWindows = process.platform === 'win32';

/** Says what a step that may take a while is doing. */
export function say(text) {
  process.stderr.write(`${text}\n`);
}

/** An error that is the user's to mend: shown as it is, without a stack. */
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
 * This command's options and its other arguments (none, unless `allowPositionals`), as util.parseArgs returns them. For an
 * option that the command does not have, throws a SetupError that shows how the command is used.
 */
export function readArguments(usage, { options = {}, allowPositionals = false } = {}) {
  try {
    return parseArgs({ options, allowPositionals });
  } catch (error) {
    throw new SetupError(`${error.message.split('. ')[0]}.\nUsage: ${usage}`);
  }
}

/** What a failed command printed, and a SetupError that names it. */
function commandError(command, args, { stdout, stderr, error }) {
  say(`${stdout ?? ''}${stderr ?? ''}`.trim());
  return new SetupError(`Failed: ${[command, ...args].join(' ')}${error ? ` (${error.message})` : ''}`);
}

const settings = (options) => ({
  cwd: root, encoding: 'utf8', maxBuffer: 1 << 28, ...options, env: { ...process.env, ...options.env },
});

/** Runs a command to its end; its output is shown only when it fails, and then a SetupError is thrown. */
export function run(command, args, options = {}) {
  const result = spawnSync(command, args, { stdio: ['ignore', 'pipe', 'pipe'], ...settings(options) });
  if (result.error || result.status !== 0) throw commandError(command, args, result);
  return result.stdout;
}

/** run() that other work can go on beside. */
export function runBeside(command, args, options = {}) {
  return new Promise((resolve, reject) => {
    execFile(command, args, settings(options), (error, stdout, stderr) => {
      if (error) reject(commandError(command, args, { stdout, stderr, error: typeof error.code === 'number' ? undefined : error }));
      else resolve(stdout);
    }).stdin.end();
  });
}

/** Resolves to a child process's exit code, and to 1 when a signal ended it. */
export function exitCode(child) {
  return new Promise((resolve, reject) => {
    child.on('error', (error) => { if (error.name !== 'AbortError') reject(error); });
    child.on('close', (code) => resolve(code ?? 1));
  });
}

/** True when the command exists and succeeds; shows nothing. */
export function succeeds(command, args) {
  return spawnSync(command, args, { stdio: 'ignore' }).status === 0;
}
