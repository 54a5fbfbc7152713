'use strict';
const { readReport } = require('borvanta-util/watchdog');
const { assert, fs, path, randomNumbers, temporaryFolder, test } = require('../support');

const folder = temporaryFolder(test);
const reportPath = path.join(folder, '2026-11-21 07-08-49.dmp-292.json');
const dumpPath = path.join(folder, '2026-11-21 07-08-49.dmp');
const modulePath = path.join(folder, 'made.dll');
const [imageSize, timeStamp] = [0x3000, 0x12345678];
const putAt = (file) => (offset, ...values) => values.forEach((value, index) => {
  file.writeUInt32LE(value, offset + 4 * index);
});

/** Functions as [start, end, start of the function that the entry is a part of]; exports as [name, offset]. */
const functions = [[0x1000, 0x1100], [0x1100, 0x1200], [0x1200, 0x1300], [0x1300, 0x1400], [0x1400, 0x1480, 0x1300],
  [0x1480, 0x1500, 0x1480], [0x1500, 0x1600], [0x1600, 0x1700], [0x2f00, 0x2f40]];
const exported = [['plain', 0x1000], ['one', 0x1100], ['other', 0x1100], ['split', 0x1300], ['circle', 0x1480],
  ['outer', 0x1500], ['inner', 0x1540], ['\x1b[2J', 0x1600], ['NtStop', 0x1700], ['ZwStop', 0x1700],
  ['noCall', 0x1740], ['data', 0x2f00]];

/** A module with code at 0x1000, and tables at 0x2000 for unwinding and at 0x2400 for exports. */
function makeModule() {
  const file = Buffer.alloc(0x2400);
  const [put, inFile] = [putAt(file), (offset) => offset - 0xc00];
  file.write('MZ');
  put(60, 64, 0x4550, 0x28664, timeStamp);
  put(84, 240, 0x20b);
  put(88 + 56, imageSize);
  put(88 + 108, 16, 0x2400, 0x600, 0, 0, 0, 0, 0x2000, 12 * functions.length);
  put(88 + 240 + 12, 0x1000, 0x1000, 0x400, 0, 0, 0, 0x20000000);
  put(88 + 280 + 12, 0x2000, 0x1000, 0x1400);
  functions.forEach(([start, end, whole], index) => {
    const infoOf = (at) => 0x2100 + 16 * functions.findIndex(([first]) => first === at);
    put(inFile(0x2000 + 12 * index), start, end, infoOf(start));
    put(inFile(infoOf(start)), whole ? 0x21 : 1, ...whole ? [whole, end, infoOf(whole)] : []);
  });
  put(inFile(0x2400 + 20), exported.length, exported.length, 0x2500, 0x2600, 0x2700);
  exported.forEach(([name, offset], index) => {
    put(inFile(0x2500 + 4 * index), offset);
    put(inFile(0x2600 + 4 * index), 0x2800 + 16 * index);
    file.writeUInt16LE(index, inFile(0x2700 + 2 * index));
    file.write(name, inFile(0x2800 + 16 * index), 'latin1');
  });
  const systemCall = Buffer.from('4c8bd1b800000000f604250803fe7f0175030f05c3', 'hex');
  systemCall.copy(file, inFile(0x1700));
  systemCall.copy(file, inFile(0x1741));
  return file;
}

/** A dump with one thread and one module, whose file has that path. */
function makeDump(file = modulePath) {
  const name = Buffer.from(file, 'utf16le');
  const dump = Buffer.alloc(0x200 + name.length);
  const put = putAt(dump);
  dump.write('MDMP');
  put(8, 2, 32);
  put(32, 3, 52, 64, 4, 112, 120);
  put(64, 1, 292);
  put(120, 1, 0, 0, imageSize, 0, timeStamp, 0x1f0);
  put(0x1f0, name.length);
  name.copy(dump, 0x1f4);
  return dump;
}

async function readNames(...offsets) {
  fs.writeFileSync(reportPath, JSON.stringify({ device_id: '', dmp_file: path.basename(dumpPath), duration: 1,
    jank_type: '', living: true, log_file: '', system_version: '', uptime: 1, user_id: '', version: '',
    main_thread_trace: offsets.map((offset) => `made.dll!0x${offset.toString(16)}\r\n`).join('') }));
  return (await readReport(reportPath)).frames.map((frame) => frame.function);
}

test('a function has a name only if it is certain', async () => {
  fs.writeFileSync(modulePath, makeModule());
  fs.writeFileSync(dumpPath, makeDump());
  for (const [offset, name] of [[0x1000, 'plain'], [0x10ff, 'plain'], [0x1150], [0x1250], [0x1350, 'split'],
    [0x1450, 'split'], [0x1490], [0x1510, 'outer'], [0x1550], [0x1610], [0x1714, 'NtStop'], [0x1715], [0x1755],
    [0x2f00], [0xffffffff]]) {
    assert.deepEqual(await readNames(offset), [name], offset.toString(16));
  }
  const returns = [[0x1001, 'plain'], [0x1100], [0x1000], [0x1460, 'split'], [0x1714]];
  const names = await readNames(0, ...returns.map(([offset]) => offset));
  assert.deepEqual(names.slice(1), returns.map(([, name]) => name));
});

test('files that are not those of the stall, or are damaged, give no exception and do not hang', async () => {
  const [module, dump] = [makeModule(), makeDump()];
  for (const [file, original, offset] of [[modulePath, module, 72], [modulePath, module, 144], [modulePath, module, 68],
    [dumpPath, dump, 68]]) {
    const changed = Buffer.from(original);
    changed[offset] ^= 1;
    fs.writeFileSync(modulePath, module);
    fs.writeFileSync(dumpPath, dump);
    fs.writeFileSync(file, changed);
    assert.deepEqual(await readNames(0x1000), [undefined], `${file} ${offset}`);
  }
  // This path leads to the same file, but begins like that of a server.
  fs.writeFileSync(modulePath, module);
  fs.writeFileSync(dumpPath, makeDump(path.toNamespacedPath(modulePath)));
  assert.deepEqual(await readNames(0x1000), [undefined]);
  const random = randomNumbers(21);
  for (let round = 0; round < 300; round += 1) {
    for (const [file, original] of [[modulePath, module], [dumpPath, dump]]) {
      const changed = Buffer.from(original);
      const used = [...original.keys()].filter((index) => original[index]);
      for (let changes = random(4); changes > 0; changes -= 1) changed[used[random(used.length)]] = random(256);
      fs.writeFileSync(file, round % 5 ? changed : changed.subarray(0, random(changed.length)));
    }
    assert.equal((await readNames(0x1450, 0x1001, 0x1520)).length, 3);
  }
});
