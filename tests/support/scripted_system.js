'use strict';
// The scripted system: a fresh copy of the built module, with its own statics and caches. A test plays, watches,
// counts, fails or holds the copy's system calls. The module has no code for this: entries of the copy's import table
// are changed to replacements in script (play, watch) or to stubs of machine code (count, fail, hold). ARCHITECTURE.md
// says when to use which.
const assert = require('node:assert/strict');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { declarations } = require('./declarations.js');
const { code, field, size } = require('./stub_code.js');
const { executableMemory, koffi, memoryAt, readLoaded, windows } = require('./windows_api.js');
const { until } = require('./waiting.js');
const { modulePath } = require('./windows.js');

const getProcAddress = windows('kernel32', 'void* GetProcAddress(void*, str)');
const createEvent = windows('kernel32', 'void* CreateEventW(void*, int, int, str16)');
const setEvent = windows('kernel32', 'int SetEvent(void*)');
const setLastError = windows('kernel32', 'void SetLastError(uint32)');

const never = 0xFFFFFFFFn;
const kernel32 = windows('kernel32', 'void* GetModuleHandleW(str16)')('kernel32');
const wait = koffi.address(getProcAddress(kernel32, 'WaitForSingleObject'));

class ScriptedSystem {
  #stubs = new Map();
  #played = [];
  #errors = [];
  #slots;

  /** The calls of watched functions: [name, ...arguments] each. */
  calls = [];

  constructor(file) {
    this.file = file;
    const loaded = { exports: {} };
    process.dlopen(loaded, file);
    /** The copy's script functions. */
    this.util = loaded.exports;
    /** The copy in memory, see readLoaded. */
    this.loaded = readLoaded(file);
    this.#slots = new Map(this.loaded.imports.map(({ name, slot }) => [name, slot]));
    this.real = new Map([...this.#slots].map(([name, slot]) => [name, slot.readBigUInt64LE()]));
  }

  /** The names of the functions that the module imports. */
  get imports() { return [...this.#slots.keys()]; }

  /** A native function that the module file exports. */
  exported(name) { return koffi.decode(getProcAddress(this.loaded.address, name), declarations[name]); }

  /**
   * Makes a C function that calls `script(real, ...args)`, and returns the C function's address. In the script,
   * `real(...args)` calls the function at `realAddress`.
   */
  callback(name, script, realAddress = this.real.get(name)) {
    const prototype = declarations[name];
    assert.ok(prototype, `declarations.js has no ${name}`);
    const real = (...args) => koffi.call(realAddress, prototype, ...args);
    const registered = koffi.register((...args) => {
      try {
        return script(real, ...args);
      } catch (error) {
        // The error cannot pass through native code, so end() throws it.
        this.#errors.push(error);
        return 0;
      } finally {
        if (this.lastError !== undefined) setLastError(this.lastError);
        this.lastError = undefined;
      }
    }, koffi.pointer(prototype));
    this.#played.push(registered);
    return koffi.address(registered);
  }

  /**
   * Replaces an import by `script(real, ...args)`. To give the module a last error, the replacement sets
   * `system.lastError`.
   */
  play(name, script) {
    const slot = this.#slots.get(name);
    assert.ok(slot, `the module does not import ${name}`);
    slot.writeBigUInt64LE(this.callback(name, script));
  }

  /** Plays several imports: { NAME: script, ... }. */
  playAll(scripts) { for (const [name, script] of Object.entries(scripts)) this.play(name, script); }

  /** Records the calls of imports in `calls` and makes the real calls. */
  watch(...names) {
    for (const name of names) {
      this.play(name, (real, ...args) => {
        this.calls.push([name, ...args]);
        return real(...args);
      });
    }
  }

  /** Makes a stub before the function at `realAddress`. Returns the stub's address. Other methods find it by `name`. */
  stub(name, realAddress = this.real.get(name)) {
    if (!this.#stubs.has(name)) {
      const at = executableMemory(size);
      const stub = memoryAt(at, size);
      code.copy(stub);
      stub.writeBigUInt64LE(never, field.first);
      stub.writeBigUInt64LE(realAddress, field.real);
      stub.writeBigUInt64LE(wait, field.wait);
      this.#stubs.set(name, { stub, at });
    }
    return this.#stubs.get(name).at;
  }

  /**
   * Puts a stub before every import, and before every function that the module looks up from now on. If `scripts` has a
   * script for a function, the function's stub calls that script.
   */
  stubAll(scripts = {}) {
    const lookUp = (real, library, name) => {
      const found = real(library, name);
      return found && this.stub(name, koffi.address(found));
    };
    for (const [name, script] of Object.entries({ GetProcAddress: lookUp, ...scripts })) {
      this.stub(name, this.callback(name, script));
    }
    for (const name of this.imports) this.#stubOf(name);
  }

  #stubOf(name) {
    const at = this.stub(name);
    this.#slots.get(name)?.writeBigUInt64LE(at);
    return this.#stubs.get(name).stub;
  }

  /** How often an import has been called since its first count(), fail() or hold(), which makes its stub. */
  count(name) { return this.#stubOf(name).readUInt32LE(field.count); }

  /** How often each function with a stub has really been called: { NAME: count }. */
  get counts() {
    return Object.fromEntries([...this.#stubs].map(([name, { stub }]) => (
      [name, stub.readUInt32LE(field.count) - stub.readUInt32LE(field.refused)])));
  }

  /**
   * Lets an import fail: it returns `value` with `error` as the last error. `nth` selects one call, counted from now;
   * by default all calls fail. With `late`, the real call is made first.
   */
  fail(name, { nth, value = 0, error = 5, late = false } = {}) {
    const stub = this.#stubOf(name);
    const before = stub.readUInt32LE(field.count);
    stub.writeBigInt64LE(BigInt(value), field.value);
    stub.writeUInt32LE(error, field.error);
    stub.writeUInt32LE(late ? 1 : 0, field.late);
    stub.writeBigUInt64LE(nth ? BigInt(before + nth) : never, field.last);
    stub.writeBigUInt64LE(nth ? BigInt(before + nth) : 1n, field.first);
  }

  /** Undoes play(), watch(), fail() and hold() of an import: its real function is called, and held threads go on. */
  restore(name) {
    const { stub, at } = this.#stubs.get(name) ?? {};
    this.#slots.get(name)?.writeBigUInt64LE(at ?? this.real.get(name));
    if (!stub) return;
    stub.writeBigUInt64LE(never, field.first);
    const event = stub.readBigUInt64LE(field.event);
    stub.writeBigUInt64LE(0n, field.event);
    if (event) setEvent(event);
  }

  /** Stops every thread that calls an import, before the call, until restore(). */
  hold(name) { this.#stubOf(name).writeBigUInt64LE(koffi.address(createEvent(null, 1, 0, null)), field.event); }

  /** Resolves when hold() has stopped a thread in this import. */
  held(name) { return until(() => this.#stubOf(name).readUInt32LE(field.held) > 0, `a thread in ${name}`); }

  /**
   * Makes a COM object. `methods` has, by its index in the table of methods, each method's name in declarations.js and
   * its script: { 2: [NAME, script], ... }.
   */
  comObject(methods) {
    const table = koffi.alloc('void*', 40);
    const places = memoryAt(koffi.address(table), 320);
    for (const [place, [name, script]] of Object.entries(methods)) {
      places.writeBigUInt64LE(this.callback(name, script), place * 8);
    }
    const object = koffi.alloc('void*', 1);
    memoryAt(koffi.address(object), 8).writeBigUInt64LE(koffi.address(table));
    return object;
  }

  end() {
    for (const name of this.#stubs.keys()) this.restore(name);
    for (const [name, slot] of this.#slots) slot.writeBigUInt64LE(this.real.get(name));
    for (const registered of this.#played) koffi.unregister(registered);
    if (this.#errors.length > 0) throw this.#errors[0];
  }
}

/**
 * Makes a scripted system with a fresh copy of the module, for the test `t`. At the end of the test all imports are
 * restored, and the test fails if a replacement has thrown.
 */
exports.scriptedSystem = (t) => {
  const file = path.join(fs.mkdtempSync(path.join(os.tmpdir(), 'borvanta-copy-')), 'borvanta-util.node');
  fs.copyFileSync(modulePath, file);
  const scripted = new ScriptedSystem(file);
  t.after(() => scripted.end());
  return scripted;
};
