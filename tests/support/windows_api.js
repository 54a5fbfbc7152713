'use strict';
// Windows itself for tests: any system function by its declaration, native memory, and registry values as bytes.
const koffi = require('../../tools/windows-node/node_modules/koffi');

exports.koffi = koffi;

const libraries = new Map();

/** A system function that script can call: system('kernel32', 'int CloseHandle(void*)'). */
const system = exports.system = (library, declaration) => {
  if (!libraries.has(library)) libraries.set(library, koffi.load(`${library}.dll`));
  return libraries.get(library).func(declaration);
};

/** Native memory from `address` (a BigInt) on, as a Buffer: what is written there is written in place. */
exports.memoryAt = (address, size) => Buffer.from(koffi.view(address, size));

const virtualAlloc = system('kernel32', 'void* VirtualAlloc(void*, size_t, uint32, uint32)');
const virtualProtect = system('kernel32', 'int VirtualProtect(void*, size_t, uint32, _Out_ uint32*)');

const chunkSize = 0x10000;
let [chunk, used] = [0n, chunkSize];

/** Fresh memory that code can run in; it is never freed. */
exports.executableMemory = (size) => {
  if (used + size > chunkSize) {
    chunk = koffi.address(virtualAlloc(null, chunkSize, 0x3000 /* MEM_COMMIT | MEM_RESERVE */, 0x40));
    used = 0;
  }
  used += size;
  return chunk + BigInt(used - size);
};
exports.makeWritable = (address, size) => virtualProtect(address, size, 0x40 /* PAGE_EXECUTE_READWRITE */, [0]);

const openKey = system('advapi32', 'int RegOpenKeyExW(size_t, str16, uint32, uint32, _Out_ size_t*)');
const createKey = system('advapi32',
  'int RegCreateKeyExW(size_t, str16, uint32, void*, uint32, uint32, void*, _Out_ size_t*, void*)');
const closeKey = system('advapi32', 'int RegCloseKey(size_t)');
const setValue = system('advapi32', 'int RegSetValueExW(size_t, str16, uint32, uint32, void*, uint32)');
const queryValue = system('advapi32',
  'int RegQueryValueExW(size_t, str16, void*, _Out_ uint32*, void*, _Inout_ uint32*)');
const deleteTree = system('advapi32', 'int RegDeleteTreeW(size_t, str16)');

const localMachine = 0x80000002;
const view = { 32: 0x200, 64: 0x100 };
const allAccess = 0xF003F;

/**
 * A key below HKEY_LOCAL_MACHINE in the 32- or the 64-bit view, which values are put into and taken from past the module.
 * Value names are as Windows has them: '' is the default value.
 */
exports.RegistryKey = class RegistryKey {
  constructor(path, bits = 64) {
    this.path = path;
    this.access = allAccess | view[bits];
  }

  /** Runs `use(handle)` on the open key and returns what it returns; undefined when there is no key. */
  #use(use, open = (key) => openKey(localMachine, this.path, 0, this.access, key)) {
    const key = [0];
    if (open(key) !== 0) return undefined;
    try {
      return use(key[0]);
    } finally {
      closeKey(key[0]);
    }
  }

  get exists() { return this.#use(() => true) ?? false; }

  create() { this.#use(() => {}, (key) => createKey(localMachine, this.path, 0, null, 0, this.access, null, key, null)); }

  /** Sets a value: a string as REG_SZ with its terminator, a BigInt as REG_QWORD, a number as REG_DWORD, or bytes. */
  set(name, value, type) {
    const [bytes, usual] = typeof value === 'string' ? [Buffer.from(`${value}\0`, 'utf16le'), 1]
      : typeof value === 'bigint' ? [Buffer.from(BigInt64Array.of(value).buffer), 11]
        : typeof value === 'number' ? [Buffer.from(Uint32Array.of(value).buffer), 4] : [value, 3];
    this.create();
    this.#use((key) => setValue(key, name, 0, type ?? usual, bytes, bytes.length));
  }

  /** A value's type and bytes; undefined when it is not there. */
  get(name) {
    return this.#use((key) => {
      const [type, size, bytes] = [[0], [1 << 16], Buffer.alloc(1 << 16)];
      if (queryValue(key, name, null, type, bytes, size) !== 0) return undefined;
      return { type: type[0], bytes: bytes.subarray(0, size[0]) };
    });
  }

  /** Deletes the key and all below it. */
  remove() {
    const [, parent, name] = this.path.match(/^(.*)\\(.*)$/);
    this.#use((key) => deleteTree(key, name), (key) => openKey(localMachine, parent, 0, this.access, key));
  }
};

const getHandleInformation = system('kernel32', 'int GetHandleInformation(size_t, _Out_ uint32*)');

/** How many handles this process has open; registry keys are handles too. (Wine does not count them.) */
exports.openHandles = () => {
  const flags = [0];
  let open = 0;
  // Values are given out in steps of four, the lowest free one first.
  for (let value = 4, gap = 0; gap < 100; value += 4, gap += 1) {
    if (getHandleInformation(value, flags) === 0) continue;
    open += 1;
    gap = 0;
  }
  return open;
};

const setThreadLocale = system('kernel32', 'int SetThreadLocale(uint32)');
const getThreadLocale = system('kernel32', 'uint32 GetThreadLocale()');

/** Gives the script thread the locale (0x0419: Russian, code page 1251) until the test has ended. */
exports.useLocale = (t, locale) => {
  const before = getThreadLocale();
  setThreadLocale(locale);
  t.after(() => setThreadLocale(before));
};
