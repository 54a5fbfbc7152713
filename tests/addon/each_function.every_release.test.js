'use strict';
const { assert, path, test } = require('../support');
const { Machine, scenarios } = require('../failing_calls/machine.js');

test('each function takes its arguments and gives its answer', async (t) => {
  const machine = new Machine(t);
  const answers = [];
  for (const name of Object.keys(scenarios)) answers.push((await machine.run(name)).answer);
  const [facts, ...others] = answers;
  assert.match(facts.join(), /^C_.+-D_.*-M_.*-V_.*,.*,.+,true$/);
  const lastVersion = 'D:\\Apps\\bin\\5.165.3.4096\\borvanta.exe';
  assert.deepEqual(others, [
    [false, true],
    [{ writeRegVersion: lastVersion, deleteFolderPath: 'D:\\Apps\\bin' }, { hasMask: false },
      { hasMask: true, lastVersion }],
    { gpuPreferencesDelResult: { delSuccess: false, errorText: 'Failed to open key' },
      firewallDelResult: { firewallName: 'BorvantaFirewall_1', delSuccess: true, errorText: '' } },
    { jsonFilename: 'undefined', dumpJankResult: { succ: false }, captureStackResult: {},
      errorText: 'Failed open process' },
    undefined, { nativeProc3d: 1, sys3d: 1, has3d: true },
    { pid: process.pid, name: path.basename(process.execPath) },
  ]);
});
