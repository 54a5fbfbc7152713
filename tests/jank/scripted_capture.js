'use strict';
// Captures in a scripted system: a fresh copy of the module for which DbgHelp, the stalled thread, its process, the
// time and all files are played. Nothing real is frozen or written.
const { call, captureArgs, koffi, memoryAt, scriptedSystem } = require('../support');
const { declarations } = require('../support/declarations.js');

const handles = exports.handles = { process: 0x7f0004n, thread: 0x7f0008n, dump: 0x7f000cn, report: 0x7f0010n };
const fields = ['SymInitialize', 'SymCleanup', 'StackWalk64', 'SymFunctionTableAccess64', 'SymGetModuleBase64',
  'EnumerateLoadedModulesW64', 'MiniDumpWriteDump', 'SymRefreshModuleList', 'SymFromAddrW', 'Lock', 'Unlock'];

/** Replaces a pointer among the arguments of a step by the value that it points to. */
const show = (step, index, value) => {
  step[index] = value;
  return 1;
};

/** The answers while nothing fails. A step is [name, ...arguments]. */
const healthy = {
  LoadLibraryW: 1n,
  OpenProcess: handles.process,
  OpenThread: handles.thread,
  SuspendThread: 3, // The thread had been suspended three times before.
  ResumeThread: 4,
  CreateFileW: ([, path]) => (path.endsWith('.dmp') ? handles.dump : handles.report),
  WriteFile: (step) => show(step, 2, memoryAt(step[2], step[3]).toString()),
  GetThreadContext: (step, capture) => {
    [capture.context, capture.walked] = [step[2], 0];
    const context = memoryAt(step[2], 1232);
    for (const [at, value] of [[0x98, 0x5000n], [0xA0, 0x6000n], [0xF8, 0x7000n]]) context.writeBigUInt64LE(value, at);
    return show(step, 2, context.readUInt32LE(0x30));
  },
  SymInitialize: 1,
  SymCleanup: 1,
  MiniDumpWriteDump: (step) => show(step, 5, memoryAt(step[5], 16).toString('hex')),
  EnumerateLoadedModulesW64: (step, { modules }) => {
    const [add, list] = step.splice(2);
    return modules.every((module) => koffi.call(add, declarations.OnLoadedModule, ...module, list) === 1) ? 1 : 0;
  },
  StackWalk64: (step, capture) => {
    if (capture.walked > 0) capture.steps.pop();
    const frame = memoryAt(step[4], 264);
    show(step, 4, [0, 32, 48].map((at) => [frame.readBigUInt64LE(at), frame.readUInt32LE(at + 12)]));
    show(step, 5, step[5] === capture.context);
    const address = capture.frames[capture.walked++];
    if (address !== undefined) frame.writeBigUInt64LE(address);
    return address === undefined ? 0 : 1;
  },
  Lock: undefined,
  Unlock: undefined,
};

exports.ScriptedCapture = class ScriptedCapture {
  /** The calls in order. Of the calls of one stack walk, only the first. */
  steps = [];
  /** The second of the local time 2024-03-05 14:07. */
  second = 9;
  modules = [['C:\\a.dll', 0x10000, 0x1000], ['D:\\b\\c.exe', 0x20000, 0x1000]];
  frames = [0x10ABCn, 0x20010n, 0x99n];
  /** The addresses of DbgHelp's exports, by name. */
  addresses = new Map(fields.map((name, index) => [name, 16n + BigInt(index)]));

  /**
   * `answers` (values or functions) replace the usual ones. If the answer of a function in the table is null, its field
   * there is null. If the answer of any other function is null, the real function is called.
   */
  constructor(t, answers) {
    const GetLocalTime = ([, time]) => [2024, 3, 2, 5, 14, 7, this.second, 999]
      .forEach((part, index) => memoryAt(time, 16).writeUInt16LE(part, index * 2));
    const facts = { GetProcessId: 5, GetProcessIdOfThread: 5, GetThreadId: 6, GetLocalTime };
    this.answers = { ...facts, ...healthy, ...answers };
    this.system = scriptedSystem(t);
    for (const name of Object.keys(this.answers)) {
      const play = (real, ...args) => this.#step(name, real, args);
      if (fields.includes(name)) this.addresses.set(name, this.system.callback(name, play, 0n));
      else if (this.answers[name] !== null) this.system.play(name, play);
    }
    this.system.play('GetProcAddress', (real, library, name) => this.addresses.get(name) ?? real(library, name));
    this.getTable = this.system.exported('GetDbgHelpFunctions');
    this.#countHeapCalls();
  }

  /** How many heap calls the module itself has made. */
  #countHeapCalls() {
    return ['malloc', 'calloc', 'realloc', 'free'].reduce((sum, name) => sum + this.system.count(name), 0);
  }

  #step(name, real, args) {
    // The start of a worker resumes its thread.
    if (name === 'ResumeThread' && args[0] !== handles.thread) return real(...args);
    const step = [name, ...args];
    if (name in healthy) this.steps.push(step);
    if (name === 'SuspendThread') this.heapCalls = [this.#countHeapCalls()];
    if (name === 'Unlock') this.heapCalls?.push(this.#countHeapCalls());
    const answer = this.answers[name] ?? healthy[name];
    const value = typeof answer === 'function' ? answer(step, this) : answer;
    if (value === handles.process) this.#watchClosing();
    return value;
  }

  /**
   * Records which handles are closed, until the process handle is closed. After that the worker ends. It then
   * closes other handles, and must not wait for script.
   */
  #watchClosing() {
    this.system.play('CloseHandle', (real, handle) => {
      const name = Object.keys(handles).find((candidate) => handles[candidate] === handle);
      if (!name) return real(handle);
      this.steps.push([`close ${name}`]);
      if (name === 'process') this.system.restore('CloseHandle');
      return 1;
    });
  }

  /** The names of the steps. */
  get order() { return this.steps.map(([name]) => name).join(', '); }

  /** The argument at `index`, counted from 1, of the first step `name`. */
  argument(name, index) { return this.steps.find(([step]) => step === name)[index]; }

  /** Returns the address in a field of the table. With `address`, first stores it there. */
  field(name, address) {
    const entry = memoryAt(this.getTable(), 88).subarray(8 * fields.indexOf(name));
    if (address !== undefined) entry.writeBigUInt64LE(address);
    return entry.readBigUInt64LE();
  }

  /** Makes a capture and resolves to its result. `view` may replace the argument object. */
  run(args, view = (object) => object) {
    const hasTable = this.getTable() !== null;
    for (const name of hasTable ? fields : []) {
      this.field(name, this.answers[name] === null ? 0n : this.addresses.get(name));
    }
    this.steps.length = 0;
    return call(this.system.util.captureNativeJank, view(captureArgs({ processId: 5, threadId: 6, ...args })));
  }
};
