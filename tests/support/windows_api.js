'use strict';
// Windows for tests: system functions by their declarations, native memory, registry values as bytes, and the headers
// of loaded executables.
const koffi = require('../../tools/windows-node/node_modules/koffi');

exports.koffi = koffi;

const libraries = new Map();

/** A system function that script can call: windows('kernel32', 'int CloseHandle(void*)'). */
const windows = exports.windows = (library, declaration) => {
  if (!libraries.has(library)) libraries.set(library, koffi.load(`${library}.dll`));
  return libraries.get(library).func(declaration);
};

/** The native memory at `address` (a BigInt) as a Buffer. It is not a copy. */
const memoryAt = exports.memoryAt = (address, size) => Buffer.from(koffi.view(address, size));

const virtualAlloc = windows('kernel32', 'void* VirtualAlloc(void*, size_t, uint32, uint32)');
const virtualProtect = windows('kernel32', 'int VirtualProtect(void*, size_t, uint32, _Out_ uint32*)');

/**
 * New memory (MEM_COMMIT | MEM_RESERVE) in which code can run. It is never freed. The bytes before it can be read too,
 * because Clang's check of function types reads them.
 */
exports.executableMemory = (size) => koffi.address(virtualAlloc(null, size + 64, 0x3000, 0x40)) + 64n;
const makeWritable = exports.makeWritable = (address, size) => (
  virtualProtect(address, size, 0x40 /* PAGE_EXECUTE_READWRITE */, [0]));

const openKey = windows('advapi32', 'int RegOpenKeyExW(size_t, str16, uint32, uint32, _Out_ size_t*)');
const setKeyValue = windows('advapi32', 'int RegSetKeyValueW(size_t, str16, str16, uint32, void*, uint32)');
const getValue = windows('advapi32',
  'int RegGetValueW(size_t, str16, str16, uint32, _Out_ uint32*, void*, _Inout_ uint32*)');
const deleteTree = windows('advapi32', 'int RegDeleteTreeW(size_t, str16)');

/** HKEY_LOCAL_MACHINE\SOFTWARE in the view that `access` asks for, with all rights. */
const openSoftware = (access) => {
  const key = [0];
  openKey(0x80000002, 'SOFTWARE', 0, 0xF003F | access, key);
  return key[0];
};
const views = { 32: 0x200 /* KEY_WOW64_32KEY */, 64: 0x100 /* KEY_WOW64_64KEY */ };

/**
 * A key below HKEY_LOCAL_MACHINE\SOFTWARE in the 32- or the 64-bit view, read and written without the module. The
 * default value is named ''.
 */
exports.RegistryKey = class RegistryKey {
  constructor(path, bits = 64) {
    this.path = path;
    this.place = [openSoftware(views[bits]), path.replace('SOFTWARE\\', '')];
  }

  /**
   * Sets a value: a string as REG_SZ with its terminator, a BigInt as REG_QWORD, a number as REG_DWORD, bytes as
   * REG_BINARY. `type` replaces the registry type.
   */
  set(name, value, type) {
    const [bytes, usual] = typeof value === 'string' ? [Buffer.from(`${value}\0`, 'utf16le'), 1]
      : typeof value === 'bigint' ? [Buffer.from(BigInt64Array.of(value).buffer), 11]
        : typeof value === 'number' ? [Buffer.from(Uint32Array.of(value).buffer), 4] : [value, 3];
    setKeyValue(...this.place, name, type ?? usual, bytes, bytes.length);
  }

  /** A value's type and bytes, or undefined if there is no such value. A string always has a terminator. */
  get(name) {
    const [type, size, bytes] = [[0], [1 << 16], Buffer.alloc(1 << 16)];
    const failed = getValue(...this.place, name, 0xFFFF /* RRF_RT_ANY */, type, bytes, size);
    return failed ? undefined : { type: type[0], bytes: bytes.subarray(0, size[0]) };
  }

  /** Deletes the key and everything below it. */
  remove() { deleteTree(...this.place); }
};

const getHandleInformation = windows('kernel32', 'int GetHandleInformation(size_t, _Out_ uint32*)');

/** How many handles this process has open, registry keys included. (In Wine, GetProcessHandleCount always gives 0.) */
exports.openHandles = () => {
  const flags = [0];
  let open = 0;
  // Handle values are multiples of four, and a new handle gets the lowest free value.
  for (let value = 4, gap = 0; gap < 100; value += 4, gap += 1) {
    if (getHandleInformation(value, flags) === 0) continue;
    open += 1;
    gap = 0;
  }
  return open;
};

const getModuleHandle = windows('kernel32', 'size_t GetModuleHandleW(str16)');

/**
 * Reads the headers of a 64-bit executable or DLL that has been loaded from `file`. Returns its `address`; its `image`,
 * the memory with its code and data; its `dllCharacteristics`; the names that it `exports`; and its `imports`
 * ({ library, name, slot }). A slot is the place of the function's address, which may be overwritten.
 */
exports.readLoaded = (file) => {
  const address = BigInt(getModuleHandle(file));
  const first = memoryAt(address, 0x1000);
  const header = first.readUInt32LE(0x3c);
  const image = memoryAt(address, first.readUInt32LE(header + 80));
  const text = (at) => image.toString('latin1', at, image.indexOf(0, at));
  const directory = (index) => image.readUInt32LE(header + 136 + index * 8);

  const imports = [];
  for (let at = directory(1); image.readUInt32LE(at + 12) !== 0; at += 20) {
    const library = text(image.readUInt32LE(at + 12));
    const [names, slots] = [image.readUInt32LE(at), image.readUInt32LE(at + 16)];
    for (let offset = 0; image.readBigUInt64LE(names + offset) !== 0n; offset += 8) {
      const name = text(Number(image.readBigUInt64LE(names + offset)) + 2);
      makeWritable(address + BigInt(slots + offset), 8);
      imports.push({ library, name, slot: image.subarray(slots + offset, slots + offset + 8) });
    }
  }
  const names = image.readUInt32LE(directory(0) + 32);
  const exports = Array.from({ length: image.readUInt32LE(directory(0) + 24) },
    (_, index) => text(image.readUInt32LE(names + index * 4)));
  return { address, image, dllCharacteristics: image.readUInt16LE(header + 94), exports, imports };
};
