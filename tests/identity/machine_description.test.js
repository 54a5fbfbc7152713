'use strict';
const { assert, memoryAt, RegistryKey, scriptedSystem, test } = require('../support');

const scratch = new RegistryKey('SOFTWARE\\BorvantaTest');
test.after(() => scratch.remove());

/** VerifyVersionInfoW on Windows `version`; 63 is 6.3. `conditions` has an octal digit for each compared field. */
const verifyOn = (version, build, productType = 1 /* VER_NT_WORKSTATION */) => (real, info, mask, conditions) => {
  const asked = memoryAt(info, 284);
  assert.deepEqual([asked.readUInt32LE(), conditions], [284, { 7: 0o333, 0x23: 0o300033, 0x80: 0o10000000 }[mask]]);
  if (mask === 0x80) return asked[282] === productType ? 1 : 0;
  const [major, minor, leastBuild, servicePack] = [asked[4], asked[8], asked.readUInt32LE(12), asked[276]];
  return version >= major * 10 + minor && servicePack === 0 && (mask !== 7 || build >= leastBuild) ? 1 : 0;
};

/**
 * Calls the module's function `name` twice on a system of this version whose keys have these values, and returns its
 * answer. Checks that the two calls open the key at `path` with the rights `access`, and only `times` times.
 */
function describe(t, name, values, [path, access, times], version = [100, 19045]) {
  scratch.remove();
  for (const [value, data] of Object.entries(values)) if (data !== undefined) scratch.set(value, data);
  const [system, opened] = [scriptedSystem(t), []];
  system.playAll({
    VerifyVersionInfoW: verifyOn(...version),
    RegOpenKeyExA: (real, root, key, options, rights, out) => {
      opened.push([root & 0xFFFFFFFF, key, options, rights]);
      return real(root, scratch.path, options, rights, out);
    },
  });
  const answer = system.util[name]('arguments', {});
  assert.equal(system.util[name](), answer);
  assert.deepEqual(opened, Array(times).fill([0x80000002 | 0 /* HKEY_LOCAL_MACHINE */, path, 0, access]));
  return answer;
}

test('getCpuName returns the bytes in the registry up to the first NUL, with their spaces', (t) => {
  const key = ['HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0', 1 /* KEY_QUERY_VALUE */, 1];
  for (const [value, name] of [
    ['  Processor @ 3.00GHz   ', '  Processor @ 3.00GHz   '], [Buffer.from('Prozessor ä\0b'), 'Prozessor ä'],
    [Buffer.alloc(1024, 'x'), 'x'.repeat(1024)], [Buffer.alloc(1025, 'x'), ''], [undefined, ''],
  ]) {
    assert.equal(describe(t, 'getCpuName', { ProcessorNameString: value }, key), name);
  }
});

/** The key with the version of Windows, in the 64-bit view. */
const systemKey = (times) => ['SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion', 0x101, times];

test('Windows is named by the latest known version that it reaches, "Server" only if it reaches none', (t) => {
  for (const [name, ...version] of [
    ['11', 100, 22631], ['11', 100, 21996], ['10', 100, 21995], ['8.1', 63, 30000], ['8', 62, 9200], ['7', 61, 7601],
    ['vista', 60, 6002], ['xp', 52, 3790], ['xp', 51, 2600], ['unknown', 50, 2195],
    ['11', 100, 26100, 3], ['10', 100, 17763, 3], ['xp', 52, 3790, 3], ['Server', 50, 2195, 3],
  ]) {
    assert.equal(describe(t, 'getOsVersionWithReleaseId', {}, systemKey(2), version), name);
  }
});

test('the name of Windows ends with DisplayVersion, or if that is missing, with ReleaseId', (t) => {
  for (const [name, newer, older] of [['10 22H2', '22H2', '2009'], ['10 1909', '', '1909'], ['10', '', '']]) {
    const values = { DisplayVersion: newer, ReleaseId: older };
    assert.equal(describe(t, 'getOsVersionWithReleaseId', values, systemKey(newer ? 1 : 2)), name);
  }
});
