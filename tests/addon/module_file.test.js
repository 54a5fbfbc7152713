'use strict';
const assert = require('node:assert/strict');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const test = require('node:test');
const { modulePath, runScript } = require('../support/windows.js');
const { readExecutable } = require('../support/executable.js');

const file = readExecutable(fs.readFileSync(modulePath));
const builtByMsvc = fs.existsSync(modulePath.replace(/node$/, 'pdb'));

test('exports its entry points and nothing else', () => {
  assert.deepEqual(file.exports.sort(),
    ['GetDbgHelpFunctions', 'napi_register_module_v1', 'node_api_module_get_api_version_v1']);
});

test('imports from system DLLs alone', () => {
  assert.ok(file.imports.length > 0);
  for (const library of file.imports) {
    assert.ok(fs.existsSync(path.join(process.env.SystemRoot, 'System32', library)), library);
    // These may happen to lie there, but come with a compiler, not with Windows.
    assert.doesNotMatch(library, /^(vcruntime|msvcp|concrt|lib)/i);
  }
});

test('is linked with the hardening that Windows offers', () => {
  const dynamicBase = 0x40;
  const highEntropy = 0x20;
  const noExecute = 0x100;
  const controlFlowGuard = builtByMsvc ? 0x4000 : 0;
  const wanted = dynamicBase | highEntropy | noExecute | controlFlowGuard;
  assert.equal(file.dllCharacteristics & wanted, wanted);
  assert.ok(file.sections.some(({ name }) => name === '.reloc'), 'without relocations it cannot be moved');
  const writable = 0x80000000;
  const executable = 0x20000000;
  for (const { name, flags } of file.sections) assert.ok(!((flags & writable) && (flags & executable)), name);
});

test('has its debug information in a file beside it', () => {
  const beside = fs.statSync(builtByMsvc ? modulePath.replace(/node$/, 'pdb') : `${modulePath}.debug`);
  assert.ok(beside.size > fs.statSync(modulePath).size);
  assert.deepEqual(file.sections.filter(({ name }) => name.startsWith('.debug')), []);
});

test('loads in a host that is not called node.exe', async () => {
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'borvanta-'));
  try {
    const host = path.join(folder, 'borvanta.exe');
    fs.copyFileSync(process.execPath, host);
    const printed = await runScript(`
      print(util.getOsVersionWithReleaseId());
      util.enumProcessList(({ list }) => print(list.find(({ pid }) => pid === process.pid).name));`, { execPath: host });
    assert.equal(printed.length, 2);
    assert.equal(printed[1], 'borvanta.exe');
  } finally {
    fs.rmSync(folder, { recursive: true, force: true, maxRetries: 5 });
  }
});
