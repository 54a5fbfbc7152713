// Tests debug mode with real files, signed with osslsigncode. Wine accepts the signature of an unknown certificate.
import assert from 'node:assert/strict';
import { readFileSync, writeFileSync } from 'node:fs';
import path from 'node:path';
import test from 'node:test';
import { folder, onWindows, run } from '../support/host.mjs';

test('isDebugMode is true for a build with a debug period and a valid signature, and false once it is changed', () => {
  onWindows(`
    const { fs, modulePath, windows } = support;
    const begin = windows('kernel32', 'void* BeginUpdateResourceW(str16, int)');
    const update = windows('kernel32', 'int UpdateResourceW(void*, str16, str16, uint16, str, uint32)');
    const end = windows('kernel32', 'int EndUpdateResourceW(void*, int)');
    fs.copyFileSync(modulePath, 'unsigned');
    const file = begin('unsigned', 0);
    update(file, 'DHS', '101', 1033, '99999999999999', 14);
    end(file, 0);`);
  run('openssl', 'req', '-x509', '-newkey', 'rsa:2048', '-nodes', '-keyout', 'key', '-out', 'certificate',
    '-subj', '/CN=x', '-addext', 'extendedKeyUsage=codeSigning');
  run('osslsigncode', 'sign', '-certs', 'certificate', '-key', 'key', '-in', 'unsigned', '-out', 'borvanta-util.node');
  const isDebugMode = () => onWindows("console.log(require('./borvanta-util.node').isDebugMode())");
  assert.equal(isDebugMode(), 'true\n');
  const file = path.join(folder, 'borvanta-util.node');
  const bytes = readFileSync(file);
  bytes[bytes.indexOf('This program cannot be run')] ^= 0x20;
  writeFileSync(file, bytes);
  assert.equal(isDebugMode(), 'false\n');
});
