'use strict';
const { spawnSync } = require('node:child_process');
const {
  assert, fs, load, modulePath, path, runScript, scriptedSystem, temporaryFolder, test, windows,
} = require('../support');

test('the module has the functions of index.d.ts in the same order, unnamed, as ordinary properties', () => {
  const util = load();
  const types = fs.readFileSync(path.join(__dirname, '..', '..', 'lib', 'index.d.ts'), 'utf8');
  const described = [...types.matchAll(/^export function (\w+)/gm)].map(([, name]) => name);
  assert.deepEqual(Object.getOwnPropertyNames(util), described);
  for (const [name, { value, ...attributes }] of Object.entries(Object.getOwnPropertyDescriptors(util))) {
    assert.deepEqual([typeof value, value.name], ['function', ''], name);
    assert.deepEqual(attributes, { writable: true, enumerable: true, configurable: true }, name);
  }
});

test('the file exports three functions, imports from Windows only, is hardened, and its debug file has its id', (t) => {
  const system = scriptedSystem(t);
  const { exports, imports, dllCharacteristics } = system.loaded;
  assert.deepEqual(exports, ['GetDbgHelpFunctions', 'napi_register_module_v1', 'node_api_module_get_api_version_v1']);
  assert.equal(system.exported('node_api_module_get_api_version_v1')(), 8);
  for (const { library } of imports) {
    assert.ok(fs.existsSync(path.join(process.env.SystemRoot, 'System32', library)), library);
    // These DLLs may be in System32 too, but they come with a compiler.
    assert.doesNotMatch(library, /^(vcruntime|msvcp|concrt|lib)/i);
  }
  const pdb = modulePath.replace(/node$/, 'pdb');
  // DYNAMIC_BASE, HIGH_ENTROPY_VA and NX_COMPAT; with MSVC also GUARD_CF.
  const [debugFile, hardening] = fs.existsSync(pdb) ? [pdb, 0x4160] : [`${modulePath}.debug`, 0x160];
  assert.equal(dllCharacteristics & hardening, hardening);
  const bytes = (file) => fs.readFileSync(file, 'latin1');
  assert.ok(bytes(debugFile).length > bytes(modulePath).length);
  const [, id] = bytes(modulePath).match(/RSDS([^]{16})/);
  assert.ok(bytes(debugFile).includes(id));
});

test('the file names its product, its version and itself', () => {
  const info = Buffer.alloc(4096);
  windows('version', 'int GetFileVersionInfoW(str16, uint32, uint32, void*)')(modulePath, 0, info.length, info);
  const query = windows('version', 'int VerQueryValueW(void*, str16, _Out_ str16*, _Out_ uint32*)');
  const { name, version } = require('../../package.json');
  for (const [key, expected] of Object.entries({ ProductName: name, FileVersion: version, ProductVersion: version,
    OriginalFilename: 'borvanta-util.node' })) {
    const [value, size] = [[null], [0]];
    query(info, `\\StringFileInfo\\040904b0\\${key}`, value, size);
    assert.equal(value[0], expected, key);
  }
});

test('the module loads in a renamed host, and does not load without Node-API or one of its functions', async (t) => {
  const folder = temporaryFolder(t);
  const host = path.join(folder, 'borvanta.exe');
  fs.copyFileSync(process.execPath, host);
  assert.deepEqual(await runScript(`util.enumProcessList(({ list }) =>
    print(list.find(({ pid }) => pid === process.pid).name));`, { execPath: host }), ['borvanta.exe']);
  assert.equal(spawnSync('regsvr32', ['/s', modulePath]).status, 3 /* the library cannot be loaded */);
  const needsMore = path.join(folder, 'needs_more.node');
  const bytes = fs.readFileSync(modulePath, 'latin1');
  fs.writeFileSync(needsMore, bytes.replaceAll('napi_create_object', 'napi_create_absent'), 'latin1');
  assert.throws(() => require(needsMore), { code: 'ERR_DLOPEN_FAILED' });
});
