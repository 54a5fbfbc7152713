'use strict';
const { assert, call, koffi, scriptedSystem, sleep, test, until, windows } = require('../support');
const { declarations } = require('../support/declarations.js');

const moreData = 0x800007D2 | 0;
const failure = 0xC0000BBA | 0;
const blockSize = windows('msvcrt', 'size_t _msize(void*)');
const Item = koffi.struct('Item', { name: 'str16', status: 'int', value: 'double' });

/**
 * A system with a played PDH. It opens everything except what `pdh.missing` names, and gives the instances that a test
 * passes to `pdh.sample`. It has no function `pdh.missing`, if that is a whole name. Its statuses are wrong where the
 * module must ignore them. `pdh.calls` records its calls, each with the first two arguments.
 */
function systemWithPdh(t) {
  const system = scriptedSystem(t);
  const pdh = { system, calls: [], missing: undefined, sizeStatus: moreData, readStatus: 0 };
  let items = [];
  let handle = 0n;
  const answer = (name, ...args) => {
    pdh.calls.push([name, ...args.slice(0, 2)].join(' '));
    if (pdh.missing === name) return 0;
    if (/^(Open|Add)/.test(name)) koffi.encode(args.at(-1), 'void*', ++handle);
    if (!name.endsWith('ArrayW')) return failure;
    const [, , size, count, buffer] = args;
    const bytes = items.length * koffi.sizeof(Item);
    if (buffer) assert.ok(koffi.decode(size, 'uint32') === bytes && blockSize(buffer) >= bytes);
    if (buffer) koffi.encode(buffer, koffi.array(Item, items.length), items);
    koffi.encode(size, 'uint32', bytes);
    koffi.encode(count, 'uint32', buffer ? items.length : 1);
    return buffer ? pdh.readStatus : pdh.sizeStatus;
  };
  system.play('GetProcAddress', (real, library, name) => {
    if (!name.startsWith('Pdh')) return real(library, name);
    return name === pdh.missing ? 0n : system.callback(name, (_, ...args) => answer(name.slice(3), ...args));
  });
  /** Resolves to the result of a sample of these `instances`, [name, value] each. */
  pdh.sample = (instances = busy, ids = [12, 34]) => {
    items = instances.map(([name, value]) => ({ name, status: failure, value }));
    return call(system.util.getGpuUsage, ...ids);
  };
  /** Resolves to the calls since the last newCalls(), as soon as there are `count` of them. */
  pdh.newCalls = async (count) => {
    await until(() => pdh.calls.length >= count);
    return pdh.calls.splice(0);
  };
  return pdh;
}

const busy = [['pid_12_engtype_3D', 4]];
const usage = { nativeProc3d: 4, sys3d: 4, has3d: true };
const opening = (query) => ['OpenQueryW  0', `AddCounterW ${query} \\GPU Engine(*)\\Utilization Percentage`,
  `CollectQueryData ${query}`];

test('a sample opens the counter, the next one reads it, and initGpuUsage reopens it on a worker', async (t) => {
  const pdh = systemWithPdh(t);
  const reading = ['CollectQueryData 1', ...Array(2).fill('GetFormattedCounterArrayW 2 512')];
  for (const [missing, expected, calls] of [['OpenQueryW', {}, opening(1).slice(0, 1)],
    ['AddCounterW', {}, opening(1).slice(0, 2)], [undefined, {}, opening(1).slice(1)], [undefined, usage, reading]]) {
    pdh.missing = missing;
    assert.deepEqual([await pdh.sample(), await pdh.newCalls(calls.length)], [expected, calls]);
  }
  assert.equal(pdh.system.util.initGpuUsage('an', 'ignored', 'argument'), undefined);
  assert.deepEqual(pdh.calls, [], 'nothing is done on the script thread');
  assert.deepEqual(await pdh.newCalls(5), ['RemoveCounter 2', 'CloseQuery 1', ...opening(3)]);
});

test('calls that overlap use PDH one after the other, also while a sample adds up its instances', async (t) => {
  const { system, calls, sample, newCalls } = systemWithPdh(t);
  await sample();
  system.hold('towlower');
  const samples = Array.from({ length: 8 }, () => sample());
  await newCalls(6);
  for (let turn = 0; turn < 8; ++turn) system.util.initGpuUsage();
  await sleep(200);
  assert.deepEqual(calls, []);
  system.restore('towlower');
  assert.deepEqual(await Promise.all(samples), Array(8).fill(usage));
  const names = (await newCalls(7 * 3 + 8 * 5)).map((entry) => entry.split(' ')[0]);
  assert.match(names.join(), /^(,?(Collect\w+(,GetFormat\w+){2}|Remove\w+,Close\w+,Open\w+,Add\w+,Collect\w+)){15}$/);
});

test('an instance adds its unchanged value to each engine kind and process that is in its name', async (t) => {
  const { sample } = systemWithPdh(t);
  await sample();
  const kinds = ['3D', 'VideoEncode', 'VideoDecode', 'Video Codec', 'Copy'];
  const instances = [12, 34, 9].flatMap((id, process) => kinds.map((kind, index) =>
    [`pid_${id}_luid_0x00000000_0x0000A1B2_phys_0_eng_0_engtype_${kind}`, 2 ** (process * 4 + index)]));
  assert.equal(Object.entries(await sample(instances)).join(), 'gpuProc3d,16,nativeProc3d,1,sys3d,273,has3d,true,'
    + 'gpuProcEnc,32,nativeProcEnc,2,sysEnc,546,hasEnc,true,gpuProcDec,64,nativeProcDec,4,sysDec,1092,hasDec,true,'
    + 'gpuProcCod,128,nativeProcCod,8,sysCod,2184,hasCod,true');
  const [gpu, other] = [{ gpuProc3d: 4, sys3d: 4, has3d: true }, { sys3d: 4, has3d: true }];
  for (const [name, expected, ids] of [
    ['PID_123_ENGTYPE_3D', usage], ['engtype_3dpid_12', usage], ['xpid_pid_12_pid_12_engtype_engtype_3D', usage],
    ['pid_12_pid_34_engtype_3D_engtype_3D', { ...usage, ...gpu }], ['pid_7_engtype_3D', { ...usage, ...gpu }, [7, 7]],
    ['pid_12_engtype_3D_engtype_VideoDecode', { ...usage, nativeProcDec: 4, sysDec: 4, hasDec: true }],
    ['pid_1_engtype_3D', other], ['pid_312_engtype_3D', other], ['pid_12_engtype_VideoCodec', {}], ['', {}],
    ['pid_-5_engtype_3D', usage, [2 ** 32 - 4.1, 0]], ['pid_0_engtype_3D', gpu, [12, NaN]],
  ]) {
    assert.deepEqual(await sample([[name, 4]], ids), expected, name);
  }
  for (const [values, sum] of [[[100, 100], 200], [[-1.5], -1.5], [[1, Infinity], Infinity], [[1, NaN], NaN]]) {
    const expected = { sysEnc: sum, hasEnc: true };
    assert.deepEqual(await sample(values.map((value) => ['engtype_VideoEncode', value])), expected);
  }
  assert.deepEqual(await sample([['pid_12_engtype_3D', 0], ['pid_34_engtype_3D', -0]]), { has3d: true });
  assert.equal((await sample(Array(1500).fill([`${'x'.repeat(300)}pid_12_engtype_3D`, 1]))).nativeProc3d, 1500);
});

test('if values cannot be read, the result is an empty object, and their memory is freed', async (t) => {
  const pdh = systemWithPdh(t);
  await pdh.sample();
  const balance = () => pdh.system.count('malloc') - pdh.system.count('free');
  pdh.sizeStatus = 0;
  assert.deepEqual(await pdh.sample(), {});
  pdh.sizeStatus = moreData;
  const before = balance();
  for (let turn = 0; turn < 20; ++turn) {
    pdh.readStatus = turn % 2 ? moreData : failure;
    assert.deepEqual(await pdh.sample(), {});
  }
  await sleep(50);
  assert.ok(balance() - before < 10);
});

test('bad arguments throw and start nothing; without PDH or a function of it the result is empty', async (t) => {
  for (const name of Object.keys(declarations).filter((declared) => declared.startsWith('Pdh'))) {
    const pdh = Object.assign(systemWithPdh(t), { missing: name });
    assert.deepEqual([await pdh.sample(), await pdh.sample(), pdh.calls], [{}, {}, []], name);
  }
  const { system, sample, newCalls } = systemWithPdh(t);
  for (const args of [[], [1, 2], ['1', 2, assert.fail], [1, '2', assert.fail], [1, 2n, assert.fail], [1, 2, {}]]) {
    assert.throws(() => system.util.getGpuUsage(...args), { name: 'TypeError', message: 'Invalid arg' });
  }
  system.play('LoadLibraryExW', (real, ...args) => {
    assert.deepEqual(args, ['pdh.dll', null, 0x800 /* LOAD_LIBRARY_SEARCH_SYSTEM32 */]);
    return null;
  });
  system.util.initGpuUsage();
  assert.deepEqual([await sample(), await sample(), await newCalls(0)], [{}, {}, []]);
});
