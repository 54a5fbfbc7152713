'use strict';
const assert = require('node:assert/strict');
const { execFileSync } = require('node:child_process');
const os = require('node:os');
const path = require('node:path');
const test = require('node:test');
const { buildFolder, load, reg, runScript, tryReg } = require('../support/windows.js');

const networkClass =
  'HKLM\\SYSTEM\\CurrentControlSet\\Control\\Class\\{4D36E972-E325-11CE-BFC1-08002bE10318}';

const fields = (id) => id.match(/^C_(0|[0-9A-F]{24})-D_([-0-9=A-Z_a-z]*)-M_([0-9A-F]*)-V_([0-9A-F]*)$/).slice(1);

test('names the volume as an independent client does, and always the same', () => {
  const util = load();
  const id = util.getGuid();
  const volume = execFileSync('cmd', ['/c', 'vol', 'c:'], { encoding: 'latin1' }).match(/([0-9A-F]{4})-([0-9A-F]{4})/i);
  assert.equal(fields(id)[3], `${volume[1]}${volume[2]}`.toUpperCase());
  for (let i = 0; i < 100; ++i) assert.equal(util.getGuid(), id);
});

test('names the adapter that the registry calls physical, and keeps to it', async (t) => {
  if (tryReg('query', networkClass)) return t.skip('the network class keys of this machine are left alone');
  const { mac } = Object.values(os.networkInterfaces()).flat().find(({ internal }) => !internal) ?? {};
  if (!mac) return t.skip('this machine has no network adapter');
  const address = mac.replaceAll(':', '').toUpperCase();
  // Script is not told the adapters' names.
  const adapters = execFileSync(path.join(buildFolder, 'native_tests', 'identity_tests.exe'), ['--child=ListAdapters'],
    { encoding: 'latin1' });
  const [, name] = adapters.match(new RegExp(`^(.*) ${address}\\r?$`, 'm'));
  reg('add', `${networkClass}\\0007`, '/v', 'NetCfgInstanceId', '/d', name, '/f');
  reg('add', `${networkClass}\\0007`, '/v', 'Characteristics', '/t', 'REG_DWORD', '/d', '0x84', '/f');
  t.after(() => tryReg('delete', networkClass, '/f'));
  const body = `
    const first = util.getGuid();
    require('node:child_process').execFileSync('reg', ['delete', ${JSON.stringify(networkClass)}, '/f']);
    print([first, util.getGuid()]);`;
  const [[first, second]] = await runScript(body);
  assert.equal(fields(first)[2], address);
  assert.equal(second, first);
  const [afresh] = await runScript('print(util.getGuid());');
  assert.equal(fields(afresh)[2], '');
});
