'use strict';
// Shows the check for a second instance, a start-up that succeeds and one that does not, and the removal of an old
// build. Restores the client's registry keys at the end.
const { execFileSync } = require('node:child_process');
const { once } = require('node:events');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { startProgram } = require('./start_program.js');

const library = path.resolve(__dirname, '..', '..', 'lib', 'index.js');
// The 32-bit view of HKLM\SOFTWARE\Borvanta.
const clientKey = 'HKLM\\SOFTWARE\\WOW6432Node\\Borvanta';
const markKey = `${clientKey}\\mark`;

/** Runs Windows' registry tool; returns whether it succeeded. */
function reg(...args) {
  try {
    execFileSync('reg', args, { stdio: 'ignore' });
    return true;
  } catch {
    return false;
  }
}

/** Exports the client's keys to a file and returns its lines, sorted; undefined if the client is not installed. */
function exportKeys(file) {
  if (!reg('query', clientKey)) return undefined;
  if (!reg('export', clientKey, file, '/y')) throw new Error(`The registry key ${clientKey} cannot be saved`);
  // Sorted, because a value that is put back may come in another place than before.
  return fs.readFileSync(file, 'utf16le').split('\r\n').sort().join('\n');
}

/** Puts the client's keys back as `before` and the folder's backup have them, and removes the folder. */
function restoreKeys(folder, before, hadMarks) {
  const backup = path.join(folder, 'client.reg');
  // If the key existed before, only its values are deleted, so that it keeps its permissions.
  if (hadMarks) reg('delete', markKey, '/va', '/f');
  else reg('delete', markKey, '/f');
  if (before === undefined) reg('delete', clientKey, '/f');
  else {
    reg('delete', clientKey, '/v', 'LatestBootableVersion', '/f');
    reg('import', backup);
  }
  // Without write access, each of these commands fails. But then the tour has not changed the keys either.
  if (exportKeys(path.join(folder, 'after.reg')) !== before) {
    throw new Error(before === undefined
      ? `The tour could not delete the registry key ${clientKey}: delete it yourself`
      : `The tour could not restore the registry key ${clientKey}: import ${backup} yourself`);
  }
  fs.rmSync(folder, { recursive: true, force: true });
}

/** Runs `work`, then puts the client's keys back. */
async function keepingRegistry(work) {
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'borvanta-tour-'));
  const before = exportKeys(path.join(folder, 'client.reg'));
  const hadMarks = reg('query', markKey);
  await work(before !== undefined).finally(() => restoreKeys(folder, before, hadMarks));
}

/**
 * Starts a process that evaluates `expression` with the module as `util` and then idles; resolves to the process and to
 * the expression's value.
 */
function start(expression) {
  const source = `const util = require(${JSON.stringify(library)});
    process.stdout.write(JSON.stringify(${expression}) + '\\n');
    setInterval(() => {}, 1000);`;
  return startProgram(process.execPath, '-e', source);
}

async function kill(child) {
  child.kill('SIGKILL');
  await once(child, 'exit');
}

async function showSingleInstance(util, print) {
  const { child, value } = await start('util.createDuplicateMutex()');
  print(`A first client asks whether another one is running: ${value}`);
  print(`This process asks the same while the first one lives: ${util.createDuplicateMutex()}`);
  util.destroyDuplicateMutex();
  await kill(child);
  print(`And once the first one has died: ${util.createDuplicateMutex()}`);
  util.destroyDuplicateMutex();
}

async function showStartups(print, hadClient) {
  if (!hadClient) print('The client is not installed on this machine, so there is no build to fall back to.');
  const good = await start('[util.enterStartupMask(), util.leaveStartupMask()]');
  await kill(good.child);
  const [entry, record] = good.value.map((value) => JSON.stringify(value));
  print(`A start-up that succeeds finds ${entry}, and at its end ${record}`);
  const bad = await start('util.enterStartupMask()');
  await kill(bad.child);
  print(`A start-up that is killed before its end finds ${JSON.stringify(bad.value)}`);
  const next = await start('util.enterStartupMask()');
  await kill(next.child);
  print(`The next one finds ${JSON.stringify(next.value)}`);
  if (!next.value.hasMask) print('(This account may not write to the client\'s keys, so the crash left no mark.)');
}

function showRemoval(util, print) {
  const { gpuPreferencesDelResult, firewallDelResult } = util.removeOldVersion('C:\\nowhere\\borvanta.exe', '0.0.0.0');
  print('Removing what an old build 0.0.0.0, which never existed, would have left in Windows:');
  print(`  GPU preference: ${JSON.stringify(gpuPreferencesDelResult)}`);
  print(`  firewall rule: ${JSON.stringify(firewallDelResult)}`);
  if (firewallDelResult.errorText.startsWith('Fail to CoInitializeEx')) {
    print('  (The rule cannot be removed here: Node.js enters no COM apartment on this thread.)');
  }
}

/** The tour of the functions for the client's launcher; `print` shows one line. */
exports.tour = async function tour(util, print) {
  await showSingleInstance(util, print);
  await keepingRegistry((hadClient) => showStartups(print, hadClient));
  showRemoval(util, print);
};
