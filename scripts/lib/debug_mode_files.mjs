// The files of the debug-mode tests: copies of the module (and of the identity tests' program, which plays a host) with
// a debug period in their resources, signed with a throw-away certificate. Wine trusts such a signature, Windows does
// not, and the signing tool is Debian's; so the files exist on Linux alone, and elsewhere their tests are skipped.
import { createHash } from 'node:crypto';
import { copyFileSync, existsSync, mkdirSync, readFileSync, renameSync, rmSync, writeFileSync } from 'node:fs';
import path from 'node:path';
import { fileURLToPath } from 'node:url';
import { buildFolder } from './build.mjs';
import { ensureWinePrefix, stopWine, wine, wineEnvironment } from './setup.mjs';
import { root, run, say } from './shell.mjs';

const folder = path.join(root, 'build', 'debug_mode');
const moduleFile = path.join(root, 'prebuilds', 'win32-x64', 'borvanta-util.node');
const host = path.join(folder, 'identity_tests.exe');
const hostFile = path.join(buildFolder, 'native_tests', 'identity_tests.exe');

/** Milliseconds from 1601 to a moment of local time, in decimal digits. */
const digits = (moment) => String(Date.parse(`${moment}Z`) - Date.parse('1601-01-01T00:00:00.000Z'));
const inside = digits('2999-12-31T23:59:59.500');
const over = digits('2020-01-01T00:00:00.000');

// What is done to the file in the folder of that name.
const variants = {
  inside: { period: inside },
  over: { period: over },
  unsigned: { period: inside, signed: false },
  tampered: { period: inside, tampered: true },
  'other-name': { period: inside, name: 'other.node' },
  'host-inside': { period: inside, from: host },
  'host-longest': { period: inside.padStart(18, '0'), from: host },
  'host-too-long': { period: inside.padStart(19, '0'), from: host },
  'host-empty': { period: '', from: host },
  'host-no-digits': { period: '/', from: host },
};

function makeCertificate() {
  const [key, certificate] = ['key.pem', 'certificate.pem'].map((name) => path.join(folder, name));
  run('openssl', ['req', '-x509', '-newkey', 'rsa:2048', '-nodes', '-days', '3650', '-subj', '/CN=Throw-away',
    '-addext', 'extendedKeyUsage=codeSigning', '-keyout', key, '-out', certificate]);
  return { key, certificate };
}

/** Makes a file's period empty: the system's own function does not write such a resource. */
function emptyPeriod(file, period) {
  const bytes = readFileSync(file);
  // The entry that describes the data stands before it: its place, its length, and two zeros.
  const entryEnd = Buffer.alloc(12);
  entryEnd.writeUInt32LE(period.length);
  const length = bytes.lastIndexOf(entryEnd, bytes.lastIndexOf(Buffer.from(period)));
  bytes.writeUInt32LE(0, length);
  writeFileSync(file, bytes);
}

function copyWithPeriods(files) {
  const prefix = ensureWinePrefix();
  for (const { file, from = moduleFile, period } of files) {
    mkdirSync(path.dirname(file));
    copyFileSync(from, file);
    const written = period || 'placeholder';
    run(wine, [hostFile, '--child=WriteDebugPeriod', `Z:${file}`, Buffer.from(written).toString('hex')],
      { env: wineEnvironment(prefix), stdio: 'ignore', timeout: 60_000 });
    if (period === '') emptyPeriod(file, written);
  }
  // What starts while Wine winds up on its own may fail to start.
  stopWine(prefix);
}

function sign(file, { key, certificate }) {
  run('osslsigncode', ['sign', '-h', 'sha256', '-certs', certificate, '-key', key, '-in', file, '-out', `${file}.new`]);
  renameSync(`${file}.new`, file);
}

/** Changes a byte that nothing depends on. */
function tamper(file) {
  const bytes = readFileSync(file);
  bytes[bytes.indexOf('This program cannot be run')] ^= 0x20;
  writeFileSync(file, bytes);
}

/** Makes the files when what they are made from has changed. */
export function ensureDebugModeFiles() {
  const sources = [moduleFile, hostFile, fileURLToPath(import.meta.url)];
  const hash = createHash('sha256');
  for (const source of sources) hash.update(readFileSync(source));
  const expected = hash.digest('hex');
  const stamp = path.join(folder, 'stamp');
  if (existsSync(stamp) && readFileSync(stamp, 'utf8') === expected) return;
  say('Signing the files of the debug-mode tests');
  rmSync(folder, { recursive: true, force: true });
  mkdirSync(folder, { recursive: true });
  run('x86_64-w64-mingw32-strip', ['-o', host, hostFile]);
  const files = Object.entries(variants).map(([variant, what]) => (
    { ...what, file: path.join(folder, variant, what.name ?? path.basename(what.from ?? moduleFile)) }));
  copyWithPeriods(files);
  const signer = makeCertificate();
  for (const { file, signed = true } of files) if (signed) sign(file, signer);
  for (const { file, tampered } of files) if (tampered) tamper(file);
  writeFileSync(stamp, expected);
}
