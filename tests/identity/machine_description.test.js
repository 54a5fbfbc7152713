'use strict';
const assert = require('node:assert/strict');
const test = require('node:test');
const { reg, runScript, tryReg } = require('../support/windows.js');

const processorKey = 'HKLM\\HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0';
const systemKey = 'HKLM\\SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion';

const read = (key, name) => tryReg('query', key, '/v', name, '/reg:64')?.match(/REG_SZ {4}(.*?)\r?\n/)?.[1];

/** Sets a text value, or deletes it with `undefined`. */
function write(key, name, text) {
  if (text === undefined) tryReg('delete', key, '/v', name, '/f', '/reg:64');
  else reg('add', key, '/v', name, '/t', 'REG_SZ', '/d', text, '/f', '/reg:64');
}

/** Runs `body` with the values changed, and puts back what was there. */
async function withValues(key, values, body) {
  const before = Object.keys(values).map((name) => [name, read(key, name)]);
  try {
    for (const [name, text] of Object.entries(values)) write(key, name, text);
    return await body();
  } finally {
    for (const [name, text] of before) write(key, name, text);
  }
}

// These change values of the system itself, which a broken-off run would leave changed.
const skip = !process.env.WINEPREFIX;

test('the processor name keeps its blanks, is read once, and is empty where Windows has none', { skip }, async () => {
  const name = '  Some(R) Processor @ 3.00GHz   ';
  await withValues(processorKey, { ProcessorNameString: name }, async () => {
    const printed = await runScript(`
      const { execFileSync } = require('node:child_process');
      print(util.getCpuName('arguments', {}, 'are ignored'));
      execFileSync('reg', ['add', ${JSON.stringify(processorKey)}, '/v', 'ProcessorNameString', '/d', 'Other', '/f']);
      print(util.getCpuName());`);
    assert.deepEqual(printed, [name, name]);
    assert.deepEqual(await runScript('print(util.getCpuName());'), ['Other'], 'a new process reads anew');
  });
  await withValues(processorKey, { ProcessorNameString: undefined }, async () => {
    assert.deepEqual(await runScript('print(util.getCpuName());'), ['']);
  });
});

test('the system name ends with the newer label, else the older, else with no blank', { skip }, async () => {
  const describe = (values) => withValues(systemKey, values, async () => {
    const [description] = await runScript('print(util.getOsVersionWithReleaseId());');
    return description;
  });
  const name = await describe({ DisplayVersion: undefined, ReleaseId: undefined });
  assert.match(name, /^1[01]$/, 'Node.js runs on nothing older');
  assert.equal(await describe({ DisplayVersion: '22H2', ReleaseId: '2009' }), `${name} 22H2`);
  assert.equal(await describe({ DisplayVersion: undefined, ReleaseId: '1909' }), `${name} 1909`);
  assert.equal(await describe({ DisplayVersion: '', ReleaseId: '1809' }), `${name} 1809`);
});
