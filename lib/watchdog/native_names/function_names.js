'use strict';

const { readExports } = require('./executable.js');

/** In unwind information: it continues that of another entry, which is named behind it. */
const chained = 4;
const most = { unwindEntries: 2_000_000, chain: 32 };

/** How a system call begins: mov r10, rcx; mov eax, NUMBER. */
const systemCall = Buffer.from([0x4c, 0x8b, 0xd1, 0xb8]);
/** The instructions that enter the system (syscall and int 0x2e), each with the return behind it. */
const entersSystem = [Buffer.from([0x0f, 0x05, 0xc3]), Buffer.from([0xcd, 0x2e, 0xc3])];

/** The index of the last of `count` sorted values that is not above `value`; -1 if there is none. */
function lastUpTo(value, count, at) {
  let [low, high] = [0, count];
  while (low < high) {
    const middle = Math.floor((low + high) / 2);
    if (at(middle) <= value) low = middle + 1;
    else high = middle;
  }
  return low - 1;
}

/** Resolves to a function that returns the unwind table's entry { start, end, info } that holds an offset. */
async function readUnwindTable(image) {
  const count = Math.floor(image.unwindTable.size / 12);
  if (count > most.unwindEntries) throw new RangeError('The module has too many unwind entries');
  const table = count > 0 ? await image.read(image.unwindTable.offset, 12 * count) : Buffer.alloc(0);
  return (offset) => {
    const index = lastUpTo(offset, count, (entry) => table.readUInt32LE(12 * entry));
    const [start, end, info] = [0, 4, 8].map((member) => (index < 0 ? 0 : table.readUInt32LE(12 * index + member)));
    return offset < end ? { start, end, info } : undefined;
  };
}

/**
 * Resolves to the start of the function that an unwind entry is a part of, or to undefined if the entries do not tell.
 * Parts of a function that lie elsewhere lead, entry by entry, to the entry at the function's start.
 */
async function functionStart(image, entryAt, { start, info }) {
  for (let [step, next] = [0, undefined]; step < most.chain; step += 1) {
    if (info % 2 === 1) {
      next = info - 1;
    } else {
      const header = await image.read(info, 4);
      const [version, flags] = [header[0] & 7, header[0] >> 3];
      if (version !== 1 && version !== 2) return undefined;
      if (!(flags & chained)) return entryAt(start)?.start === start ? start : undefined;
      next = info + 4 + 2 * (header[2] + header[2] % 2);
    }
    const entry = await image.read(next, 12);
    start = entry.readUInt32LE(0);
    info = entry.readUInt32LE(8);
  }
  return undefined;
}

/** The one name of a function. A system call has two, of which Nt... is the usual one; else several names are none. */
function oneName(names) {
  const [name, other] = names.sort();
  if (names.length === 1) return name;
  return names.length === 2 && name?.startsWith('Nt') && other === `Zw${name.slice(2)}` ? name : undefined;
}

/**
 * Resolves to a function that takes an offset in the module and resolves to the name of the function there, or to
 * undefined if the name is not certain. `isReturn` says that the offset is where a call returns to. It may then be the
 * first byte behind the function that made the call, so the name is certain only if the byte before is in the same one.
 *
 * Certain means that the module's unwind table and export table agree exactly: a function begins where an exported name
 * is, and no other name lies between that and the offset. The linker merges functions with the same code, so several
 * names at one place are none. A system call has no unwind entry: there the instructions must be those of a system call
 * from the exported name on.
 */
exports.readFunctionNames = async (image) => {
  const entryAt = await readUnwindTable(image);
  const { starts, namesAt } = await readExports(image);
  const lastExport = (offset) => starts[lastUpTo(offset, starts.length, (index) => starts[index])];

  async function startOf(offset) {
    const entry = entryAt(offset);
    const start = entry && await functionStart(image, entryAt, entry);
    if (start === undefined) return undefined;
    const near = lastExport(offset);
    return near === start || !(near >= entry.start) ? start : undefined;
  }

  async function startOfSystemCall(offset) {
    const start = lastExport(offset);
    // The instruction ends ten bytes behind the start, or twenty or more when a test for the way to call is before it.
    if (!(offset - start >= 10 && offset - start <= 24) || entryAt(start)) return undefined;
    const code = await image.read(start, offset - start + 1);
    const entered = code.subarray(-3);
    return code.subarray(0, 4).equals(systemCall) && entersSystem.some((bytes) => bytes.equals(entered))
      ? start : undefined;
  }

  return async (offset, isReturn) => {
    let start = await startOf(offset);
    if (isReturn && start !== await startOf(offset - 1)) return undefined;
    if (!isReturn && !entryAt(offset)) start = await startOfSystemCall(offset);
    if (start === undefined || lastExport(start) !== start) return undefined;
    return oneName(await namesAt(start));
  };
};
