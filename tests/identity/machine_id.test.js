'use strict';
const { assert, koffi, makeWritable, memoryAt, RegistryKey, scriptedSystem, test, windows } = require('../support');

const classKey = 'SYSTEM\\CurrentControlSet\\Control\\Class\\{4D36E972-E325-11CE-BFC1-08002bE10318}';
const setThreadLocale = windows('kernel32', 'int SetThreadLocale(uint32)');
const scratch = new RegistryKey('SOFTWARE\\BorvantaTest');
test.after(() => scratch.remove());

/** Writes an answer into memory that the module must have zeroed before. */
function write(answer, address, size) {
  const output = memoryAt(address, size);
  assert.ok(output.every((byte) => byte === 0), 'memory for an answer is zeroed');
  answer.copy(output);
}

/** The list of network adapters that starts at the address `start`. Each adapter is [name, type, address, length]. */
function adapterList(start, adapters) {
  return Buffer.concat(adapters.map(([name, type, address, length = address.length / 2], index) => {
    const entry = Buffer.alloc(704); // An IP_ADAPTER_INFO.
    if (index + 1 < adapters.length) entry.writeBigUInt64LE(start + BigInt((index + 1) * entry.length));
    entry.write(name, 12, 'latin1');
    entry.writeUInt32LE(length, 404);
    entry.write(address, 408, 'hex');
    entry.writeUInt32LE(type, 420);
    return entry;
  }));
}

/**
 * Returns the fields of the identifier of a machine that has only these devices:
 * - `drives`: { NAME: { QUESTION: answer } }, where NAME is the part after "\\.\", and QUESTION is
 *   "ACCESS SHARE CODE INPUT OUTPUT-SIZE";
 * - `handle`: the handle of each drive that is opened;
 * - `volumes`: by device or root path, the volume's serial number;
 * - `adapters`: network adapters, see adapterList;
 * - `keys`: keys of the class of network adapters, [adapter, characteristics] each.
 *
 * `opened` of the result names the drives in the order in which they were opened.
 */
function identify(t, { drives = {}, handle = 0x1000n, volumes = {}, adapters = [], keys = [] }) {
  scratch.remove();
  for (const [index, [adapter, characteristics]] of keys.entries()) {
    const key = new RegistryKey(`${scratch.path}\\000${index}`);
    if (adapter) key.set('NetCfgInstanceId', adapter);
    if (characteristics) key.set('Characteristics', characteristics);
  }
  const [system, opened] = [scriptedSystem(t), []];
  let [mode, answers] = [];
  system.playAll({
    CreateFileW: (real, path, access, share, security, disposition, flags) => {
      assert.deepEqual([path.slice(0, 4), security, disposition, flags], ['\\\\.\\', null, 3 /* OPEN_EXISTING */, 0]);
      opened.push(path.slice(4));
      [mode, answers] = [`${access.toString(16)} ${share}`, drives[path.slice(4)]];
      return answers ? handle : -1n;
    },
    DeviceIoControl: (real, device, code, input, inputSize, output, size) => {
      const asked = input ? memoryAt(input, inputSize).toString('hex') : '-';
      const answer = answers[`${mode} ${code.toString(16)} ${asked} ${size}`];
      write(answer ?? Buffer.of(), output, size);
      if (size === 40959) memoryAt(output, 40960)[40959] = 0x58; // This driver writes one byte too many.
      return answer ? 1 : 0;
    },
    CloseHandle: () => 1,
    GetVolumeInformationW: (real, root, name, nameSize, serial) => {
      koffi.encode(serial, 'uint32', volumes[root] ?? 5);
      return root in volumes ? 1 : 0;
    },
    GetAdaptersInfo: (real, list, size) => {
      const answer = adapterList(list ?? 0n, adapters);
      koffi.encode(size, 'uint32', answer.length);
      if (list) write(answer, list, answer.length);
      return adapters.length === 0 ? 232 /* ERROR_NO_DATA */ : list ? 0 : 111 /* ERROR_BUFFER_OVERFLOW */;
    },
    RegOpenKeyExW: (real, root, key, options, access, out) => {
      assert.deepEqual([root & 0xFFFFFFFF, options, access], [0x80000002 | 0, 0, 0x20019 /* KEY_READ */]);
      return real(root, key.replace(classKey, scratch.path), options, access, out);
    },
  });
  const id = system.util.getGuid('arguments', {});
  const { length } = opened;
  assert.equal(system.util.getGuid(), id);
  assert.equal(opened.length, length, 'the second call opens no drive');
  return { ...id.match(/^C_0-D_(?<disk>.*)-M_(?<mac>\w*)-V_(?<volume>\w*)$/).groups, opened };
}

/** Checks a field of the identifier for each row, [expected, machine]. */
function check(t, field, rows) {
  for (const [expected, machine] of rows) assert.equal(identify(t, machine)[field], expected);
}

test('the volume serial number is read by the device, and if that fails, by the root path', (t) => {
  const [device, root] = [{ '\\\\.\\C:': 0xA0B0C0 }, { 'C:\\': 1 }];
  check(t, 'volume', [['00A0B0C0', { volumes: { ...device, ...root } }], ['00000001', { volumes: root }], ['', {}]]);
});

// Answers of a drive. It is opened without rights for the storage properties, and in two other ways for SMART.
const [smartA, smartB] = ['c0000000 3', 'c0000000 7'];
const ofMedia = (media) => ({ '0 3 70000 - 24': Buffer.of(0, 0, 0, 0, 0, 0, 0, 0, media) }); // The geometry.
const [removable, fixed] = [ofMedia(11), ofMedia(12)];
const described = (serial, offset = 100) => {
  const bytes = Buffer.alloc(40960);
  // The offsets of vendor, product, revision and serial number.
  for (const [index, flip] of [32, 32, 32, 0].entries()) bytes.writeInt32LE(offset ^ flip, 12 + 4 * index);
  Buffer.from(serial, 'latin1').copy(bytes, offset);
  return { [`0 3 2d1400 ${'0'.repeat(24)} 40959`]: bytes };
};
const hasMediaSerial = { '0 3 2d0c10 - 40959': Buffer.from('R') };
const withIdeMap = (map) =>
  Object.fromEntries([smartA, smartB].map((mode) => [`${mode} 74080 - 24`, Buffer.of(0, 0, 0, map)]));
const identifyData = (word0, serial) =>
  Buffer.concat([Buffer.alloc(16), Buffer.of(word0), Buffer.alloc(19), Buffer.from(serial.padEnd(20)).swap16()]);
/** `registers`: drive and head, command, a reserved byte, and behind these registers the drive's number. */
const identifiedByA = (registers, ...data) =>
  ({ [`${smartA} 7c088 ${`000200000001000000${registers}`.padEnd(64, '0')} 528`]: identifyData(...data) });
const identifiedByB = (...data) =>
  ({ [`${smartB} 7c088 ${'00000000000000000000ec'.padEnd(66, '0')} 545`]: identifyData(...data) });

test('the disk is drive C if it is fixed and has a serial number, else the first fixed one of 16 drives', (t) => {
  const [stick, disk] = [{ ...removable, ...described('stick') }, { ...fixed, ...described('disk') }];
  const [byA, removableByA] = [0xC0, 0x80].map((word0) => identifiedByA('b0a10001', word0, 'A'));
  const byB = identifiedByB(0x40, 'B');
  const unlikely = { ...withIdeMap(0), ...identifiedByA('a0ec0000', 0x40, 'no IDE drive') };
  for (const [field, last, drives] of [
    ['disk', 'C:', { 'C:': disk }], ['disk', 'PhysicalDrive15', { 'C:': stick, PhysicalDrive15: disk }],
    ['', 'PhysicalDrive15', { PhysicalDrive16: disk }],
    ['', 'PhysicalDrive1', { 'C:': fixed, PhysicalDrive0: unlikely, PhysicalDrive1: fixed, PhysicalDrive2: disk }],
    ['disk', 'PhysicalDrive1', { PhysicalDrive1: { ...disk, ...withIdeMap(0x20), ...byA } }],
    ['A', 'PhysicalDrive1', { PhysicalDrive1: { ...stick, ...withIdeMap(0x20), ...byA, ...byB } }],
    ['4th', 'PhysicalDrive4', { PhysicalDrive4: { ...withIdeMap(0xFF), ...identifiedByA('a0ec0004', 0x40, '4th') } }],
    ['B', 'PhysicalDrive1', { PhysicalDrive1: { ...fixed, ...withIdeMap(0x20), ...removableByA, ...byB } }],
    ['B', 'PhysicalDrive2', { PhysicalDrive2: { ...withIdeMap(0), ...byB } }],
  ]) {
    const { disk: found, opened } = identify(t, { drives });
    assert.deepEqual([found, opened.at(-1)], [field, last]);
  }
});

test('an IDENTIFY string ends at a NUL or before trailing white space, but keeps its first character', (t) => {
  const identified = (serial) => ({ drives: { PhysicalDrive0: { ...withIdeMap(1), ...identifiedByB(0x40, serial) } } });
  check(t, 'disk', [['WD-W', identified('  WD-W\t \v\f\r\n')], ['09', identified('\t\t')], ['AB', identified('AB\0CD')],
    ['x'.repeat(20), identified('x'.repeat(20))]]);
});

const withSerial = (serial, offset) => ({ drives: { 'C:': { ...fixed, ...described(serial, offset) } } });

test('if a driver knows a media serial number, the serial number is the bytes of the drive\'s handle', (t) => {
  const drive = { ...fixed, ...hasMediaSerial };
  check(t, 'disk', [['ABC', { handle: 0x434241n, drives: { 'C:': { ...drive, ...described('S3Z9') } } }],
    ['ABCDEFGH', { handle: 0x4847464544434241n, drives: { 'C:': drive } }]]);
});

test('a serial number is read only within the memory of the answer, and up to a NUL', (t) => {
  check(t, 'disk', [0, 40960, 0xFFFFFFFF].map((offset) => ['', withSerial('S3Z9', offset)]));
  check(t, 'disk', [['S3Z', withSerial('S3Z9', 40956)], ['S3Z', withSerial('S3Z\x009')]]);
});

test('a serial number in hex digits is decoded; characters are swapped in pairs if a space is inside', (t) => {
  check(t, 'disk', Object.entries({
    '574d414d3941': 'WMAM9A', '4157202020204443': 'WACD', '2020202041574443': 'AWDC', '41204243204445': 'ACBDE',
    '7F5a': '7fZ', '8041': '8041', '41ff': '41ff', '4G4a': '4G4a', '12345': '12345', '-1': '-1',
  }).map(([serial, field]) => [field, withSerial(serial)]));
});

test('the disk field takes 40 characters without spaces; all but letters, digits and "-=_" become hex', (t) => {
  setThreadLocale(0x0411); // Japanese: the code page of the thread's locale is used.
  const kept = '0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ-=_';
  check(t, 'disk', [
    [`${kept}2e`, withSerial(` ${kept} .z`)], ['abcdefghijklmnopqrstuvwxyz', withSerial('abcdefghijklmnopqrstuvwxyz')],
    ['2e2f3a405b607b017f', withSerial('./:@[`{\x01\x7F')], ['65e5ff71', withSerial('\x93\xFA\xB1')],
  ]);
});

const [wired, wireless] = [6, 71];
const [physical, virtual] = [0x84, 0x81];

test('the MAC address is that of the first wired physical adapter, else of the last physical one', (t) => {
  const keys = [['two', physical], ['one', physical], ['virtual', virtual]];
  const [one, two] = [['one', wired, '000A0B0C0D0E'], ['two', wired, 'F000010203040506']];
  const others = [['virtual', wired, '00000000FFFF'], ['unknown', wired, '00000000FFFF']];
  const overTheAir = ([name, , address]) => [name, wireless, address];
  check(t, 'mac', [
    [one[2], { keys, adapters: [...others, one, two] }], [two[2], { keys, adapters: [overTheAir(one), two] }],
    [two[2], { keys, adapters: [overTheAir(one), overTheAir(two), ...others] }], ['', { keys, adapters: others }],
  ]);
});

test('the first class key with an adapter\'s name, in any letter case, says whether it is physical', (t) => {
  const name = '{ABCDEF00-0000-0000-0000-00000000000A}';
  check(t, 'mac', [
    ['', []], ['', [[name]]], ['', [[name, 0x5]]], ['', [[name, 0x80]]], ['', [[name, virtual], [name, physical]]],
    ['01', [['', virtual], ['other', virtual], [name.toLowerCase(), 0x4], [name, virtual]]],
  ].map(([field, keys]) => [field, { keys, adapters: [[name, wired, '01']] }]));
});

test('names and addresses of adapters are read only within their fields', (t) => {
  setThreadLocale(0x0419); // Russian: the code page of the thread's locale is used.
  const adapters = [[`${'\xC6'.repeat(260)}description`, wired, '0102030405060708', 300]];
  const id = Buffer.from('Ж'.repeat(260), 'utf16le');
  check(t, 'mac', [['0102030405060708', { adapters, keys: [[id, physical]] }],
    ['', { adapters, keys: [[Buffer.concat([id, Buffer.alloc(2)]), physical]] }]]);
});

const addHandler = windows('kernel32', 'void* AddVectoredExceptionHandler(uint32, void*)');
const removeHandler = windows('kernel32', 'uint32 RemoveVectoredExceptionHandler(void*)');

test('the processor field is serial number and signature, or "0" without the feature; CPUID may fault', (t) => {
  let leaves;
  const handler = addHandler(1, scriptedSystem(t).callback('ExceptionHandler', (real, fault) => {
    const context = memoryAt(koffi.decode(fault, 8, 'void*'), 0x100);
    const [rax, rcx, rdx, rbx, rip] = [0x78, 0x80, 0x88, 0x90, 0xF8];
    const registers = leaves[context.readUInt32LE(rax)];
    if (!registers) return 0;
    [rax, rbx, rcx, rdx].forEach((place, index) => context.writeBigUInt64LE(registers[index], place));
    context.writeBigUInt64LE(context.readBigUInt64LE(rip) + 2n, rip);
    return -1; // EXCEPTION_CONTINUE_EXECUTION
  }));
  const [version, serial] = [[0x686n, 1n, 2n, 0x40001n], [1n, 2n, 0xABCDEFn, 0x89n]];
  for (const [field, given] of [
    ['00ABCDEF0000008900000686', { 1: version, 3: serial }], ['000000000000000000000686', { 1: version }],
    ['0', { 1: [1n, 2n, 3n, 0xFFFBFFFFn], 3: serial }], ['0', {}],
  ]) {
    leaves = given;
    const { loaded: { image }, util } = scriptedSystem(t);
    // Only in the code: elsewhere these bytes may be part of an address.
    const code = image.subarray(0x1000, 0x1000 + image.readUInt32LE(image.readUInt32LE(0x3C) + 28));
    makeWritable(koffi.address(code), code.length);
    // Each CPUID instruction becomes a privileged one, which faults.
    for (let place; (place = code.indexOf('0fa2', 'hex')) >= 0;) code[place + 1] = 0x06; // clts
    assert.match(util.getGuid(), new RegExp(`^C_${field}-D_[-\\w=]*-M_[0-9A-F]*-V_[0-9A-F]{8}$`));
  }
  removeHandler(handler);
});
