'use strict';
// What is done while a system call fails: each script function, in the states that lead it through all of its calls.
const assert = require('node:assert/strict');
const { setTimeout: sleep } = require('node:timers/promises');
const { call } = require('../support/windows.js');
const { captureArgs } = require('../support/stall_target.js');
const { executable, folder, injector, intact, version } = require('./machine.js');

/** Resolves when `count` workers have come to their end, counted from the last arm(). */
async function workersEnded(count) {
  for (let tries = 0; (injector.calls()._endthreadex ?? 0) < count; ++tries) {
    assert.ok(tries < 6000, 'a worker hangs');
    await sleep(tries < 100 ? 2 : 10);
  }
}

/** Calls an asynchronous function and waits for its callback and its worker's end. */
async function called(start, ...args) {
  const before = injector.calls()._endthreadex ?? 0;
  const result = await Promise.race([call(start, ...args), sleep(60_000, undefined, { ref: false })]);
  assert.ok(result, 'no callback');
  await workersEnded(before + 1);
  return result;
}

function describeCapture({ jsonFilename, dumpJankResult: dump, captureStackResult: stack, errorText }) {
  const frames = stack.stackTrace?.match(/\r\n/g).length ?? 0;
  return [errorText, jsonFilename && 'report', dump.succ ? 'dump' : dump.errorText, stack.errorText ?? `${frames} frames`]
    .filter(Boolean).join(', ');
}

const [mac, volume] = intact.getGuid().match(/-M_(.*)-V_(.*)$/).slice(1);

const startupRecord = {
  writeRegVersion: executable, installVersion: version, silentVersion: version, deleteFolderPath: `${folder}\\bin`,
};

function describeStartup(record) {
  return Object.entries(record).map(([name, value]) => (value === startupRecord[name] ? name : `${name}=${value}`))
    .join(', ') || 'nothing';
}

function describeEntry({ hasMask, lastVersion }) {
  return (hasMask ? 'crashed' : 'no mark') + (lastVersion ? `, ${lastVersion === executable ? 'last good' : lastVersion}` : '');
}

const describeUsage = (usage) => (usage.has3d ? 'usage' : 'empty');

async function clearMark() {
  intact.leaveStartupMask();
}

async function setMark() {
  clearMark();
  intact.enterStartupMask();
  // In the very millisecond in which it is set, a mark does not count.
  await sleep(3);
}

/**
 * By name: `run` answers; `prepare` and `finish` are done before and after that, unharmed; `keeps` tells whether the
 * answer stays when the named function works again.
 */
exports.scenarios = (target) => ({
  getGuid: {
    keeps: () => true,
    run: (util) => util.getGuid().replace(`-M_${mac}`, '-M_MAC').replace(`-V_${volume}`, '-V_VOLUME'),
  },
  getCpuName: { keeps: () => true, run: (util) => util.getCpuName() },
  getOsVersionWithReleaseId: { keeps: () => true, run: (util) => util.getOsVersionWithReleaseId() },
  isDebugMode: { keeps: () => true, run: (util) => util.isDebugMode() },
  createDuplicateMutex: {
    prepare: (util) => util.destroyDuplicateMutex(),
    run: (util) => util.createDuplicateMutex(),
    finish: (util) => util.destroyDuplicateMutex(),
  },
  destroyDuplicateMutex: {
    prepare: (util) => util.createDuplicateMutex(),
    run: (util) => util.destroyDuplicateMutex(),
  },
  enterStartupMask: { prepare: clearMark, run: (util) => describeEntry(util.enterStartupMask()) },
  'enterStartupMask after a crash': { prepare: setMark, run: (util) => describeEntry(util.enterStartupMask()) },
  leaveStartupMask: { prepare: setMark, run: (util) => describeStartup(util.leaveStartupMask()) },
  removeOldVersion: {
    run: (util) => {
      const { gpuPreferencesDelResult, firewallDelResult } = util.removeOldVersion('C:\\old.exe', '1');
      return `${gpuPreferencesDelResult.errorText}, ${firewallDelResult.errorText || 'removed'}`;
    },
  },
  captureNativeJank: {
    // DbgHelp's functions are looked up once.
    keeps: (name) => name === 'GetProcAddress',
    run: async (util) => describeCapture(await called(util.captureNativeJank,
      captureArgs({ processId: target.processId, threadId: target.threadId, janksDir: `${folder}\\` }))),
  },
  initGpuUsage: {
    prepare: (util) => called(util.getGpuUsage, 12, 34),
    run: async (util) => {
      const before = injector.calls()._endthreadex ?? 0;
      util.initGpuUsage();
      await workersEnded(before + 1);
      return describeUsage(await called(util.getGpuUsage, 12, 34));
    },
  },
  getGpuUsage: {
    run: async (util) => {
      const first = describeUsage(await called(util.getGpuUsage, 12, 34));
      return `${first}, then ${describeUsage(await called(util.getGpuUsage, 12, 34))}`;
    },
  },
  enumProcessList: {
    run: async (util) => {
      const { list } = await called(util.enumProcessList);
      const unnamed = list.findIndex(({ name }) => name === '');
      return list.length > 3 ? 'all' + (unnamed < 0 ? '' : `, number ${unnamed} unnamed`) : `${list.length} processes`;
    },
  },
});
