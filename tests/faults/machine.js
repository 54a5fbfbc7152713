'use strict';
// The machine on which system calls fail: one on which every script function finds something to do. It has GPU counters
// and a physical network adapter, the client is installed, and the module is a debug build in its period.
const { execFileSync } = require('node:child_process');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { buildFolder, loadHelper, modulePath, reg, tryReg } = require('../support/windows.js');
const { startStallTarget } = require('../support/stall_target.js');
const { fallible } = require('./imports.js');

function dlopen(file) {
  const loaded = { exports: {} };
  process.dlopen(loaded, file);
  return loaded.exports;
}

// A loaded file cannot be deleted, so a run leaves its copies to the next one.
if (!process.env.BORVANTA_FAULTS) {
  for (const name of fs.readdirSync(os.tmpdir()).filter((entry) => entry.startsWith('borvanta-faults-'))) {
    fs.rmSync(path.join(os.tmpdir(), name), { recursive: true, force: true });
  }
}
const folder = process.env.BORVANTA_FAULTS ?? fs.mkdtempSync(path.join(os.tmpdir(), 'borvanta-faults-'));
const installKey = 'HKLM\\SOFTWARE\\Borvanta';
const gpuKey = 'HKLM\\SOFTWARE\\Microsoft\\DirectX\\UserGpuPreferences';
const systemKey = 'HKLM\\SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion';
const networkClass = 'HKLM\\SYSTEM\\CurrentControlSet\\Control\\Class\\{4D36E972-E325-11CE-BFC1-08002bE10318}';
const version = '5.165.3.4096';
const executable = path.join(folder, 'bin', version, 'borvanta.exe');

// Before anything asks for it: the module finds out once what machine this is.
if (!process.env.BORVANTA_FAULTS) setUpRegistry();
// Of all copies, the first that is loaded decides debug mode.
const intact = dlopen(path.resolve(buildFolder, '..', 'debug_mode', 'inside', 'borvanta-util.node'));
const helper = loadHelper();
const injector = dlopen(path.join(buildFolder, 'helpers', 'fault-injector.node'));
injector.useQuick(true);

let names = [];

/** Loads a fresh copy of the module, with statics and caches of its own, whose calls can be made to fail. */
function freshCopy() {
  const file = path.join(fs.mkdtempSync(path.join(folder, 'copy-')), 'borvanta-util.node');
  fs.copyFileSync(modulePath, file);
  const util = dlopen(file);
  names = injector.install(file);
  for (const [name, [failure, error, late]] of Object.entries(fallible)) injector.define(name, failure, error, late);
  return util;
}

/** Every function that the module imports or looks up. */
const importNames = () => names;

function setUpRegistry() {
  fs.mkdirSync(path.dirname(executable), { recursive: true });
  fs.writeFileSync(executable, 'MZ');
  reg('add', installKey, '/reg:32', '/ve', '/d', folder, '/f');
  for (const name of ['currentinstallversion', 'slientinstallversion']) {
    reg('add', `${installKey}\\version`, '/reg:32', '/v', name, '/d', version, '/f');
  }
  reg('add', gpuKey, '/reg:64', '/v', 'C:\\old.exe', '/d', 'x', '/f');
  reg('add', systemKey, '/reg:64', '/v', 'DisplayVersion', '/d', '22H2', '/f');
  reg('add', systemKey, '/reg:64', '/v', 'ReleaseId', '/d', '2009', '/f');
  const [name] = execFileSync(path.join(buildFolder, 'native_tests', 'identity_tests.exe'), ['--child=ListAdapters'],
    { encoding: 'latin1' }).split(/\r?\n/);
  reg('add', `${networkClass}\\0007`, '/v', 'NetCfgInstanceId', '/d', name, '/f');
  reg('add', `${networkClass}\\0007`, '/v', 'Characteristics', '/t', 'REG_DWORD', '/d', '0x84', '/f');
}

/** Makes the machine; resolves to a stalled process and tearDown(). */
async function setUp() {
  helper.comInitialize();
  const target = await startStallTarget('chain');
  const tearDown = () => {
    target.child.kill();
    helper.comUninitialize();
    tryReg('delete', installKey, '/reg:32', '/f');
    tryReg('delete', gpuKey, '/reg:64', '/f');
    tryReg('delete', networkClass, '/f');
    for (const name of ['DisplayVersion', 'ReleaseId']) tryReg('delete', systemKey, '/reg:64', '/v', name, '/f');
  };
  return { target, tearDown };
}

module.exports = { executable, folder, freshCopy, helper, importNames, injector, intact, setUp, version };
