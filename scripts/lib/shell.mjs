// Running commands and talking to the person in front of the terminal. All talk goes to stderr: stdout belongs to what
// is run.
import { spawnSync } from 'node:child_process';
import path from 'node:path';
import { fileURLToPath } from 'node:url';

/** The project's root folder. */
export const root = path.resolve(path.dirname(fileURLToPath(import.meta.url)), '..', '..');

export const onWindows = process.platform === 'win32';

/** Says what a step that may take a while is doing. */
export function say(text) {
  process.stderr.write(`${text}\n`);
}

/** An error that is the user's to mend: shown as one line, without a stack. */
export class SetupError extends Error {}

/** Runs `main` and ends the process with its exit code; shows a SetupError as one line. */
export async function runMain(main) {
  try {
    process.exitCode = (await main()) ?? 0;
  } catch (error) {
    say(error instanceof SetupError ? error.message : error.stack);
    process.exitCode = 1;
  }
}

/** Runs a command to its end; its output is shown only when it fails, and then a SetupError is thrown. */
export function run(command, args, options = {}) {
  const result = spawnSync(command, args, {
    cwd: root, encoding: 'utf8', maxBuffer: 1 << 28, stdio: ['ignore', 'pipe', 'pipe'], ...options,
    env: { ...process.env, ...options.env },
  });
  if (result.error || result.status !== 0) {
    say(`${result.stdout ?? ''}${result.stderr ?? ''}`.trim());
    throw new SetupError(`Failed: ${[command, ...args].join(' ')}${result.error ? ` (${result.error.message})` : ''}`);
  }
  return result.stdout;
}

/** True when the command exists and succeeds; shows nothing. */
export function succeeds(command, args) {
  return spawnSync(command, args, { stdio: 'ignore' }).status === 0;
}
