// Debug mode with real files, which need Debian's signing tool. Wine accepts the signature of an unknown certificate.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { mkdtempSync, readFileSync, renameSync, rmSync, writeFileSync } from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import test from 'node:test';
import { fileURLToPath } from 'node:url';

const root = fileURLToPath(new URL('../..', import.meta.url));
const folder = mkdtempSync(path.join(os.tmpdir(), 'borvanta-debug-'));
test.after(() => rmSync(folder, { recursive: true, force: true }));

const run = (command, ...args) => execFileSync(command, args,
  { cwd: folder, env: { ...process.env, INIT_CWD: folder }, encoding: 'utf8', stdio: ['ignore', 'pipe', 'pipe'] });
/** Runs a script in Node.js for Windows. `support` is the folder of the tests' helpers there. */
const onWindows = (script) => run(process.execPath, path.join(root, 'scripts', 'windows-node.mjs'), '-e',
  `const [fs, support] = [require('node:fs'), ${JSON.stringify(`Z:${root}tests/support`)}]; ${script}`);

test('isDebugMode is true for a signed debug build within its period', () => {
  const [future, past] = ['99999999999999', '13000000000000'];
  const variants = { signed: future, over: past, unsigned: future, tampered: future };
  onWindows(`
    const { system } = require(support + '/windows_api.js');
    const begin = system('kernel32', 'void* BeginUpdateResourceW(str16, int)');
    const update = system('kernel32', 'int UpdateResourceW(void*, str16, str16, uint16, str, uint32)');
    const end = system('kernel32', 'int EndUpdateResourceW(void*, int)');
    for (const [variant, period] of Object.entries(${JSON.stringify(variants)})) {
      fs.mkdirSync(variant);
      fs.copyFileSync(require(support + '/windows.js').modulePath, variant + '/borvanta-util.node');
      const file = begin(variant + '/borvanta-util.node', 0);
      update(file, 'DHS', '101', 1033, period, period.length);
      end(file, 0);
    }`);
  run('openssl', 'req', '-x509', '-newkey', 'rsa:2048', '-nodes', '-keyout', 'key', '-out', 'certificate',
    '-subj', '/CN=x', '-addext', 'extendedKeyUsage=codeSigning');
  for (const variant of ['signed', 'over', 'tampered']) {
    const file = `${variant}/borvanta-util.node`;
    run('osslsigncode', 'sign', '-certs', 'certificate', '-key', 'key', '-in', file, '-out', 'out');
    renameSync(path.join(folder, 'out'), path.join(folder, file));
  }
  const tampered = path.join(folder, 'tampered', 'borvanta-util.node');
  const bytes = readFileSync(tampered);
  bytes[bytes.indexOf('This program cannot be run')] ^= 0x20;
  writeFileSync(tampered, bytes);

  // Each in a process of its own, where the first module of that name decides.
  assert.equal(onWindows(`
    for (const variant of ${JSON.stringify(Object.keys(variants))}) {
      const script = 'require("./' + variant + '/borvanta-util.node").isDebugMode()';
      require('node:child_process').spawnSync(process.execPath, ['-p', script], { stdio: 'inherit' });
    }`), 'true\nfalse\nfalse\nfalse\n');
});
