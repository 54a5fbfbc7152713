'use strict';
const assert = require('node:assert/strict');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const test = require('node:test');
const { load, loadHelper, reg, runScript, startScript, tryReg } = require('../support/windows.js');

const util = load();
const installKey = 'HKLM\\SOFTWARE\\Borvanta';
const gpuKey = 'HKLM\\SOFTWARE\\Microsoft\\DirectX\\UserGpuPreferences';
const version = '5.165.3.4096';

const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'borvanta-'));
const bin = path.join(folder, 'bin');
const executable = path.join(bin, version, 'borvanta.exe');

function cleanRegistry() {
  for (const view of ['/reg:32', '/reg:64']) {
    tryReg('delete', installKey, view, '/f');
    tryReg('delete', gpuKey, view, '/f');
  }
}
test.beforeEach(cleanRegistry);
test.after(() => {
  cleanRegistry();
  fs.rmSync(folder, { recursive: true, force: true });
});

/** The start-up mark as reg.exe sees it: the time at which it was set, or undefined. */
function markTime() {
  const file = path.join(folder, 'mark.reg');
  if (tryReg('export', 'HKLM\\SOFTWARE\\WOW6432Node\\Borvanta\\mark', file, '/y') === undefined) return undefined;
  const bytes = fs.readFileSync(file, 'utf16le').match(/^"esn5\.165\.3\.4096"=hex\(b\):([0-9a-f,]{23})\r$/m)?.[1];
  return bytes && Number(Buffer.from(bytes.replaceAll(',', ''), 'hex').readBigInt64LE());
}

/** Starts a client whose start-up is killed, and resolves to what it was told. */
async function crashInStartup() {
  const client = startScript('print(util.enterStartupMask()); setInterval(() => {}, 1000);');
  const entry = await client.next();
  await client.kill();
  return entry;
}

test('one instance at a time, the next one when it has died', async (t) => {
  const other = startScript('print(util.createDuplicateMutex()); setInterval(() => {}, 1000);');
  t.after(other.kill);
  assert.equal(await other.next(), false);
  assert.equal(util.createDuplicateMutex('ignored'), true);
  assert.equal(util.destroyDuplicateMutex('ignored'), true);
  await other.kill();
  assert.equal(util.createDuplicateMutex(), false);
  assert.equal(util.destroyDuplicateMutex(), true);
  assert.equal(util.destroyDuplicateMutex(), true);
});

test('a start-up that is killed leaves its mark for the next one', async () => {
  const before = Date.now();
  assert.deepEqual(await crashInStartup(), { hasMask: false });
  const set = markTime();
  assert.ok(set >= before && set <= Date.now(), `${set}`);

  fs.mkdirSync(path.dirname(executable), { recursive: true });
  fs.writeFileSync(executable, 'MZ');
  reg('add', installKey, '/reg:32', '/ve', '/d', folder, '/f');
  for (const name of ['currentinstallversion', 'slientinstallversion']) {
    reg('add', `${installKey}\\version`, '/reg:32', '/v', name, '/d', version, '/f');
  }
  const [entry, record] = await runScript('print(util.enterStartupMask()); print(util.leaveStartupMask());');
  assert.deepEqual(entry, { hasMask: true });
  assert.deepEqual(Object.entries(record), Object.entries({
    writeRegVersion: executable, installVersion: version, silentVersion: version, deleteFolderPath: bin,
  }));
  assert.equal(markTime(), undefined);
  const seen = reg('query', installKey, '/reg:32', '/s');
  assert.match(seen, /^ +LatestBootableVersion +REG_SZ +(.*)\r$/m);
  assert.ok(seen.includes(` ${executable}\r`), seen);
  assert.match(seen, /^ +currentinstallversion +REG_SZ +5\.165\.3\.4096\r$/m, 'the system refuses to delete it');
  assert.equal(tryReg('query', installKey, '/reg:64'), undefined);

  assert.deepEqual(await crashInStartup(), { hasMask: false });
  assert.deepEqual(await crashInStartup(), { hasMask: true, lastVersion: executable });
});

test('a start-up finishes without an installed client', async () => {
  assert.deepEqual(await runScript('print(util.leaveStartupMask());'), [{}]);
  const time = `${Date.now() - 1000}`;
  reg('add', `${installKey}\\mark`, '/reg:32', '/v', `esn${version}`, '/t', 'REG_QWORD', '/d', time, '/f');
  const [record] = await runScript('print(util.leaveStartupMask());');
  assert.deepEqual(record, { deleteFolderPath: '\\bin' }, 'the key is there, the directory is not');
  assert.equal(markTime(), undefined);
});

test('removeOldVersion refuses what is no text, the path first', () => {
  for (const args of [[], [5, '1'], [undefined, 5], [new String('a'), '1']]) {
    assert.throws(() => util.removeOldVersion(...args), { name: 'TypeError', message: 'Invalid path' });
  }
  for (const args of [['a'], ['a', null], ['a', 5]]) {
    assert.throws(() => util.removeOldVersion(...args), { name: 'TypeError', message: 'Invalid version' });
  }
});

test('removeOldVersion tells what became of each half', () => {
  const helper = loadHelper();
  const noCom = { delSuccess: false, errorText: 'Fail to CoInitializeEx-2147221008' };
  reg('add', gpuKey, '/reg:32', '/v', 'C:\\old.exe', '/d', 'x', '/f');
  assert.equal(JSON.stringify(util.removeOldVersion('C:\\old.exe', '5.160.1.1000')), JSON.stringify({
    gpuPreferencesDelResult: { delSuccess: false, errorText: 'Failed to open key' },
    firewallDelResult: { firewallName: 'BorvantaFirewall_5.160.1.1000', ...noCom },
  }));

  reg('add', gpuKey, '/reg:64', '/v', 'C:\\old.exe', '/d', 'x', '/f');
  helper.comInitialize();
  try {
    for (const odd of ['', 'a\0b', '7'.repeat(3_000_000), '直播 😀']) {
      const { gpuPreferencesDelResult, firewallDelResult } = util.removeOldVersion(odd || 'C:\\old.exe', odd);
      assert.deepEqual(gpuPreferencesDelResult, { delSuccess: false, errorText: 'Failed to delete key' });
      assert.equal(firewallDelResult.firewallName, `BorvantaFirewall_${odd}`);
      // Windows' own firewall may well refuse such names.
      if (process.env.WINEPREFIX) assert.equal(firewallDelResult.delSuccess, true, firewallDelResult.errorText);
      assert.equal(firewallDelResult.delSuccess, firewallDelResult.errorText === '');
    }
  } finally {
    helper.comUninitialize();
  }
  assert.match(reg('query', gpuKey, '/reg:64'), /old\.exe/, 'the system refuses to delete it');
});
