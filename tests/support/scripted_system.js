'use strict';
// The scripted system: a fresh copy of the built module, with its own statics and caches. A test plays, watches,
// counts, fails or holds the copy's system calls. The module has no code for this: entries of the copy's import table
// are replaced by script functions (play, watch) or by stubs of machine code (count, fail, hold). ARCHITECTURE.md says
// when to use which.
const assert = require('node:assert/strict');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { declarations } = require('./declarations.js');
const { executableMemory, koffi, makeWritable, memoryAt, readExecutable, system } = require('./windows_api.js');
const { until } = require('./waiting.js');
const { modulePath } = require('./windows.js');

const getModuleHandle = system('kernel32', 'void* GetModuleHandleW(str16)');
const getProcAddress = system('kernel32', 'void* GetProcAddress(void*, str)');
const loadLibrary = system('kernel32', 'void* LoadLibraryW(str16)');
const createEvent = system('kernel32', 'void* CreateEventW(void*, int, int, str16)');
const setEvent = system('kernel32', 'int SetEvent(void*)');
const setLastError = system('kernel32', 'void SetLastError(uint32)');
const address = (library, name) => koffi.address(getProcAddress(loadLibrary(library), name));

// A stub consists of its code and, behind the code, its fields of 8 bytes each. These are their offsets in the stub.
const stubSize = 256;
const field = {
  count: 160, first: 168, last: 176, value: 184, error: 192, late: 200, event: 208, real: 216, wait: 224, held: 232,
  refused: 240,
};
const never = 0xFFFFFFFFn;

function stubCode() {
  const code = [];
  const labels = {};
  const jumps = [];
  const emit = (...bytes) => code.push(...bytes);
  const label = (name) => { labels[name] = code.length; };
  const jump = (opcode, to) => { emit(opcode, 0); jumps.push([code.length, to]); };
  /** Emits an instruction that uses a field. The field's address is relative to the end of the instruction. */
  const on = (name, bytes, immediate = []) => {
    const end = code.length + bytes.length + 4 + immediate.length;
    emit(...bytes, ...Buffer.from(Int32Array.of(field[name] - end).buffer), ...immediate);
  };
  on('event', [0x48, 0x83, 0x3D], [0]); // cmp qword [event], 0
  jump(0x74, 'count'); // je
  on('held', [0xF0, 0xFF, 0x05]); // lock inc dword [held]
  emit(0x51, 0x52, 0x41, 0x50, 0x41, 0x51, 0x48, 0x83, 0xEC, 0x28); // push rcx, rdx, r8, r9; sub rsp, 0x28
  on('event', [0x48, 0x8B, 0x0D]); // mov rcx, [event]
  emit(0xBA, 0xFF, 0xFF, 0xFF, 0xFF); // mov edx, INFINITE
  on('wait', [0xFF, 0x15]); // call [wait]
  emit(0x48, 0x83, 0xC4, 0x28, 0x41, 0x59, 0x41, 0x58, 0x5A, 0x59); // add rsp, 0x28; pop r9, r8, rdx, rcx
  label('count');
  emit(0xB8, 1, 0, 0, 0); // mov eax, 1
  on('count', [0xF0, 0x0F, 0xC1, 0x05]); // lock xadd [count], eax
  emit(0xFF, 0xC0); // inc eax
  on('first', [0x3B, 0x05]); // cmp eax, [first]
  jump(0x72, 'pass'); // jb
  on('last', [0x3B, 0x05]); // cmp eax, [last]
  jump(0x76, 'fail'); // jbe
  label('pass');
  on('real', [0xFF, 0x25]); // jmp [real]
  label('fail');
  emit(0x48, 0x83, 0xEC, 0x28); // sub rsp, 0x28
  on('late', [0x83, 0x3D], [0]); // cmp dword [late], 0
  jump(0x74, 'refuse'); // je
  on('real', [0xFF, 0x15]); // call [real], which has four arguments at most
  jump(0xEB, 'answer'); // jmp
  label('refuse');
  on('refused', [0xF0, 0xFF, 0x05]); // lock inc dword [refused]
  label('answer');
  emit(0x48, 0x83, 0xC4, 0x28); // add rsp, 0x28
  emit(0x65, 0x48, 0x8B, 0x04, 0x25, 0x30, 0, 0, 0); // mov rax, gs:[0x30]: the thread environment block
  on('error', [0x8B, 0x0D]); // mov ecx, [error]
  emit(0x89, 0x48, 0x68); // mov [rax + 0x68], ecx: the last error
  on('value', [0x48, 0x8B, 0x05]); // mov rax, [value]
  emit(0xC3); // ret
  for (const [end, to] of jumps) code[end - 1] = labels[to] - end;
  assert.ok(code.length <= field.count);
  return Buffer.from(code);
}

const stubBytes = stubCode();
const wait = address('kernel32', 'WaitForSingleObject');

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
    this.module = getModuleHandle(file);
    const base = koffi.address(this.module);
    const headers = memoryAt(base, 0x1000);
    /** The copy's memory, code and data. */
    this.image = memoryAt(base, headers.readUInt32LE(headers.readUInt32LE(0x3C) + 80));
    /** The contents of the copy's headers, see readExecutable. */
    this.executable = readExecutable(this.image);
    const { imports } = this.executable;
    this.#slots = new Map(imports.map(({ name, slot }) => [name, this.image.subarray(slot, slot + 8)]));
    for (const { slot } of imports) makeWritable(base + BigInt(slot), 8);
    this.real = new Map([...this.#slots].map(([name, slot]) => [name, slot.readBigUInt64LE()]));
  }

  /** The names of the functions that the module imports. */
  get imports() { return [...this.#slots.keys()]; }

  /** A native function that the module file exports. */
  exported(name) { return koffi.decode(getProcAddress(this.module, name), declarations[name]); }

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
   * Replaces an import by `script(real, ...args)`. To give the module a last error, the script function sets
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

  /** Restores an import. */
  restore(name) { this.#slots.get(name).writeBigUInt64LE(this.real.get(name)); }

  /** Makes a stub before the function at `realAddress`. Returns the stub's address. Other methods find it by `name`. */
  stub(name, realAddress = this.real.get(name)) {
    if (!this.#stubs.has(name)) {
      const at = executableMemory(stubSize);
      const stub = memoryAt(at, stubSize);
      stubBytes.copy(stub);
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

  /** Lets an import work again, and releases the threads that hold() has stopped in it. */
  mend(name) {
    const stub = this.#stubOf(name);
    stub.writeBigUInt64LE(never, field.first);
    const event = stub.readBigUInt64LE(field.event);
    stub.writeBigUInt64LE(0n, field.event);
    if (event) setEvent(event);
  }

  /** Stops every thread that calls an import, before the call, until mend(). */
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
    for (const name of this.#slots.keys()) this.restore(name);
    for (const name of this.#stubs.keys()) this.mend(name);
    for (const registered of this.#played) koffi.unregister(registered);
    if (this.#errors.length > 0) throw this.#errors[0];
  }
}

/**
 * Makes a scripted system with a fresh copy of the module, for the test `t`. At the end of the test all imports are
 * restored, and the test fails if a script function has thrown.
 */
exports.scriptedSystem = (t) => {
  const file = path.join(fs.mkdtempSync(path.join(os.tmpdir(), 'borvanta-copy-')), 'borvanta-util.node');
  fs.copyFileSync(modulePath, file);
  const scripted = new ScriptedSystem(file);
  t.after(() => scripted.end());
  return scripted;
};
