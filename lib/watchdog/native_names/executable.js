'use strict';
// Reads from the file of a module (an executable or a DLL, for 64-bit x86) what it takes to name the function at an
// address. Offsets count from the address at which the module is loaded. All functions reject with a RangeError if the
// file is not such a module, is cut, or has numbers that no real module has.

const exportTable = 0;
const unwindTable = 3;
const executableSection = 0x2000_0000;
const most = { sections: 96, exports: 65_536 };

/** Resolves to { imageSize, timeStamp, directory(number), sections }. */
async function readHeaders(readAt) {
  const dos = await readAt(0, 64);
  const start = dos.readUInt32LE(60);
  const nt = await readAt(start, 24 + 144);
  const wanted = dos.toString('latin1', 0, 2) === 'MZ' && nt.toString('latin1', 0, 4) === 'PE\0\0'
    && nt.readUInt16LE(4) === 0x8664 && nt.readUInt16LE(24) === 0x20b && nt.readUInt32LE(24 + 108) > unwindTable;
  const count = nt.readUInt16LE(6);
  if (!wanted || count > most.sections) throw new RangeError('This is not a module for 64-bit x86');
  const table = await readAt(start + 24 + nt.readUInt16LE(20), 40 * count);
  return {
    timeStamp: nt.readUInt32LE(8),
    imageSize: nt.readUInt32LE(24 + 56),
    directory: (number) => ({
      offset: nt.readUInt32LE(24 + 112 + 8 * number), size: nt.readUInt32LE(24 + 116 + 8 * number) }),
    sections: Array.from({ length: count }, (_, index) => {
      const at = (member) => table.readUInt32LE(40 * index + member);
      return { offset: at(12), size: at(16), inFile: at(20), isCode: (at(36) & executableSection) !== 0 };
    }),
  };
}

/**
 * Resolves to { imageSize, timeStamp, exportTable, unwindTable, isCode, read, readText }. The tables are
 * { offset, size }. `read(offset, length)` resolves to a Buffer, and `readText(offset, max)` to the text of at most
 * `max` characters of printable ASCII that ends with a zero byte, or to undefined if there is none.
 */
exports.readImage = async (readAt) => {
  const { imageSize, timeStamp, directory, sections } = await readHeaders(readAt);
  const sectionOf = (offset, length) => sections
    .find((section) => offset >= section.offset && offset + length <= section.offset + section.size);
  async function read(offset, length) {
    const section = sectionOf(offset, length);
    if (!section) throw new RangeError(`The module's file has no ${length} bytes at ${offset}`);
    return readAt(section.inFile + offset - section.offset, length);
  }
  return {
    imageSize,
    timeStamp,
    exportTable: directory(exportTable),
    unwindTable: directory(unwindTable),
    isCode: (offset) => sectionOf(offset, 1)?.isCode === true,
    read,
    async readText(offset, max) {
      const section = sectionOf(offset, 1);
      const end = section ? section.offset + section.size : offset;
      const bytes = await read(offset, Math.min(max + 1, end - offset));
      return /^([!-~]+)\0/.exec(bytes.toString('latin1'))?.[1];
    },
  };
};

/**
 * Reads the export table. Resolves to { starts, namesAt }: the sorted offsets of exported code, and a function that
 * takes one of them and resolves to its names, at most three. Exported data is left out, and so are exports that
 * another module has. A name that is not up to a thousand characters of printable ASCII is undefined.
 */
exports.readExports = async (image) => {
  const { offset: table, size } = image.exportTable;
  if (size === 0) return { starts: new Uint32Array(), namesAt: () => [] };
  const directory = await image.read(table, 40);
  const [functionCount, nameCount] = [directory.readUInt32LE(20), directory.readUInt32LE(24)];
  if (Math.max(functionCount, nameCount) > most.exports) throw new RangeError('The module has too many exports');
  const functions = await image.read(directory.readUInt32LE(28), 4 * functionCount);
  const names = await image.read(directory.readUInt32LE(32), 4 * nameCount);
  const ordinals = await image.read(directory.readUInt32LE(36), 2 * nameCount);

  const isForwarded = (offset) => offset >= table && offset < table + size;
  const starts = Uint32Array.from({ length: functionCount }, (_, index) => functions.readUInt32LE(4 * index))
    .filter((offset) => !isForwarded(offset) && image.isCode(offset)).sort();

  async function namesAt(start) {
    const found = [];
    for (let index = 0; index < nameCount; index += 1) {
      const ordinal = ordinals.readUInt16LE(2 * index);
      if (ordinal < functionCount && functions.readUInt32LE(4 * ordinal) === start) {
        found.push(names.readUInt32LE(4 * index));
      }
    }
    return Promise.all(found.slice(0, 3).map((name) => image.readText(name, 1000)));
  }
  return { starts, namesAt };
};
