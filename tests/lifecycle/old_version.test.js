'use strict';
const { assert, koffi, load, memoryAt, RegistryKey, scriptedSystem, test } = require('../support');

const preferences = new RegistryKey('SOFTWARE\\Microsoft\\DirectX\\UserGpuPreferences');
test.beforeEach(() => preferences.remove());
test.after(() => preferences.remove());

const guid = (address) => memoryAt(koffi.address(address), 16).toString('hex');

/** Plays a firewall whose methods return these values. Returns a list of the steps that are taken with it, in order. */
function playFirewall(system, { create = 0, getRules = 0, remove = 0 } = {}) {
  const steps = [];
  const release = (name) => ['ReleaseObject', () => { steps.push(`release ${name}`); return 0; }];
  const rules = system.comObject({
    2: release('rules'),
    9: ['RemoveRule', (real, self, name) => {
      const length = memoryAt(koffi.address(name) - 4n, 4).readUInt32LE();
      steps.push(['remove', memoryAt(koffi.address(name), length).toString('utf16le')]);
      return remove;
    }],
  });
  const policy = system.comObject({
    2: release('policy'),
    18: ['GetRules', (real, self, out) => {
      steps.push('get rules');
      if (getRules >= 0) koffi.encode(out, 'void*', rules);
      return getRules;
    }],
  });
  system.play('CoCreateInstance', (real, classId, outer, context, interfaceId, out) => {
    steps.push(['create', guid(classId), outer, context, guid(interfaceId)]);
    if (create >= 0) koffi.encode(out, 'void*', policy);
    return create;
  });
  system.play('SysFreeString', (real, text) => { steps.push('free name'); real(text); });
  return steps;
}

// The first step: the class and the interface of the firewall's policy, byte by byte, and CLSCTX_INPROC_SERVER.
const created = ['create', '7fc9b3e2e16aac41817af6f92166d7dd', null, 1, '4750329871c674418d81defcd3f03186'];

test('a path or version that is not a string throws before anything is done; the path is checked first', (t) => {
  const system = scriptedSystem(t);
  system.watch('RegOpenKeyExW');
  for (const [message, calls] of [
    ['Invalid path', [[], [5, '1'], [undefined, 5], [new String('a'), '1']]],
    ['Invalid version', [['a'], ['a', null], ['a', 5]]],
  ]) {
    for (const args of calls) {
      assert.throws(() => system.util.removeOldVersion(...args), { name: 'TypeError', message });
    }
  }
  assert.deepEqual(system.calls, []);
});

test('the GPU preference is removed by its whole path with a key for query only, which Windows refuses', (t) => {
  const system = scriptedSystem(t);
  playFirewall(system);
  system.watch('RegOpenKeyExW', 'RegDeleteValueW', 'RegCloseKey');
  const gpuResult = () => system.util.removeOldVersion('C:\\直播\\old.exe', '1').gpuPreferencesDelResult;
  assert.deepEqual(Object.entries(gpuResult()), [['delSuccess', false], ['errorText', 'Failed to open key']]);
  preferences.set('C:\\直播\\old.exe', 'x');
  system.calls.length = 0;
  assert.deepEqual(Object.entries(gpuResult()), [['delSuccess', false], ['errorText', 'Failed to delete key']]);
  assert.ok(preferences.get('C:\\直播\\old.exe'), 'Windows refuses to remove it');
  const [[, root, key, options, access], [, , name], ...rest] = system.calls;
  assert.deepEqual([root & 0xFFFFFFFF, key, options, access, name], [0x80000002 | 0,
    'Software\\Microsoft\\DirectX\\UserGpuPreferences', 0, 1, 'C:\\直播\\old.exe']);
  assert.deepEqual(rest.map(([called]) => called), ['RegCloseKey']);
  system.fail('RegDeleteValueW', { value: 0 });
  assert.deepEqual(gpuResult(), { delSuccess: true }, 'if Windows does not refuse it');
});

test('the firewall rule is removed by its whole name, and all objects are released afterwards', (t) => {
  const system = scriptedSystem(t);
  for (const version of ['5.160.1.1000', '', 'a\0b', '\ud800', '直播 😀', '7'.repeat(1_000_000)]) {
    const steps = playFirewall(system, { create: 1, getRules: 1, remove: 1 /* S_FALSE is success too */ });
    const { firewallDelResult } = system.util.removeOldVersion('C:\\old.exe', version);
    const name = `BorvantaFirewall_${version.replace('\ud800', '\ufffd')}`;
    assert.deepEqual(Object.entries(firewallDelResult).flat(),
      ['firewallName', name, 'delSuccess', true, 'errorText', '']);
    assert.deepEqual(steps, [created, 'get rules', ['remove', `BorvantaFirewall_${version}`], 'free name',
      'release rules', 'release policy']);
  }
});

test('a failing step of the firewall is reported with its code, and all objects are released', (t) => {
  const system = scriptedSystem(t);
  for (const [answers, errorText, steps] of [
    [{ create: -2147221008 }, 'Fail to CoInitializeEx-2147221008', []],
    [{ getRules: -2147024882 }, 'Fail to get_Rules-2147024882', ['get rules', 'release policy']],
    [{ remove: -2147024891 }, 'Fail to Remove-2147024891',
      ['get rules', ['remove', 'BorvantaFirewall_1'], 'free name', 'release rules', 'release policy']],
  ]) {
    const done = playFirewall(system, answers);
    const result = system.util.removeOldVersion('C:\\old.exe', '1');
    assert.deepEqual(Object.keys(result), ['gpuPreferencesDelResult', 'firewallDelResult']);
    assert.deepEqual(result.firewallDelResult, { firewallName: 'BorvantaFirewall_1', delSuccess: false, errorText });
    assert.deepEqual(done, [created, ...steps]);
  }
});

test('a thread that is in no COM apartment cannot use the firewall', () => {
  const { firewallDelResult } = load().removeOldVersion('C:\\old.exe', '5.160.1.1000');
  assert.equal(firewallDelResult.errorText, 'Fail to CoInitializeEx-2147221008');
});
