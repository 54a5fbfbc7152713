'use strict';
// Reads lists of a minidump. All functions reject with a RangeError if the dump is not one or is cut.

const { withFile } = require('./read_at.js');

const threadList = 3;
const moduleList = 4;
/** More than any real process has. */
const most = { streams: 256, threads: 65_536, modules: 2048, nameBytes: 65_534 };

/** Resolves to a function that takes the number of a stream and resolves to the stream's offset. */
async function streamFinder(readAt) {
  const header = await readAt(0, 16);
  const count = header.readUInt32LE(8);
  const isDump = header.toString('latin1', 0, 4) === 'MDMP' && count <= most.streams;
  if (!isDump) throw new RangeError('This is not a minidump');
  const directory = await readAt(header.readUInt32LE(12), 12 * count);
  return (type) => {
    for (let entry = 0; entry < directory.length; entry += 12) {
      if (directory.readUInt32LE(entry) === type) return directory.readUInt32LE(entry + 8);
    }
    throw new RangeError(`The minidump has no stream ${type}`);
  };
}

/** Reads a list: a 32-bit count, then entries of `size` bytes. Resolves to an array of Buffers. */
async function readList(readAt, offset, size, max) {
  const count = (await readAt(offset, 4)).readUInt32LE();
  if (count > max) throw new RangeError(`A list of the minidump has ${count} entries`);
  const list = await readAt(offset + 4, count * size);
  return Array.from({ length: count }, (_, index) => list.subarray(index * size, (index + 1) * size));
}

async function readModule(readAt, entry) {
  const name = entry.readUInt32LE(20);
  const nameBytes = (await readAt(name, 4)).readUInt32LE();
  if (nameBytes > most.nameBytes) throw new RangeError(`A name in the minidump has ${nameBytes} bytes`);
  return {
    imageSize: entry.readUInt32LE(8),
    timeStamp: entry.readUInt32LE(16),
    path: (await readAt(name + 4, nameBytes)).toString('utf16le'),
  };
}

/**
 * Resolves to { threadIds, modules }. `modules` has { path, imageSize, timeStamp } of each module that was loaded. The
 * path has backslashes, also on other systems than Windows.
 */
exports.readDump = (file) => withFile(file, async (readAt) => {
  const offsetOf = await streamFinder(readAt);
  const threads = await readList(readAt, offsetOf(threadList), 48, most.threads);
  const modules = [];
  for (const entry of await readList(readAt, offsetOf(moduleList), 108, most.modules)) {
    modules.push(await readModule(readAt, entry));
  }
  return { threadIds: threads.map((entry) => entry.readUInt32LE()), modules };
});
