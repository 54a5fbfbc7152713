// Compiled, not run: the package's types under CommonJS.
import util = require('../../lib/index.js');
import promises = require('../../lib/promises.js');

const debugMode: boolean = util.isDebugMode();
const description: string = `${util.getGuid()} ${util.getCpuName()} ${util.getOsVersionWithReleaseId()}`;
const first: boolean = !util.createDuplicateMutex() && util.destroyDuplicateMutex();
const { hasMask, lastVersion }: { hasMask: boolean; lastVersion?: string } = util.enterStartupMask();
const notes: (string | undefined)[] = Object.values(util.leaveStartupMask());
const removal: util.OldVersionRemoval = util.removeOldVersion('D:\\Apps\\Client\\borvanta.exe', '5.160.1.1000');
const removed: boolean = removal.gpuPreferencesDelResult.delSuccess && removal.firewallDelResult.errorText === '';
const initialised: void = util.initGpuUsage();
const sampled: void = util.getGpuUsage(1234, 5678, ({ has3d, sys3d = 0 }) => (has3d ? sys3d.toFixed(1) : 'none'));
const usage: Promise<util.GpuUsage> = promises.getGpuUsage(1234, 5678);
const nothing: void = util.enumProcessList(({ list }) => list.map(({ pid, name }) => `${pid.toFixed()} ${name.trim()}`));
const list: Promise<util.ProcessListResult> = promises.enumProcessList();

// @ts-expect-error a callback is required
util.enumProcessList();
// @ts-expect-error a pid is a number
util.enumProcessList(({ list: [first] }) => first!.pid.trim());
// @ts-expect-error an id is a number
util.getGpuUsage('1234', 5678, () => {});
// @ts-expect-error a sum may be left out
util.getGpuUsage(1234, 5678, ({ sysEnc }) => sysEnc.toFixed());

// @ts-expect-error a version is required
util.removeOldVersion('D:\\Apps\\Client\\borvanta.exe');
// @ts-expect-error the latest bootable version may be missing
util.enterStartupMask().lastVersion.length;

export {
  debugMode, description, first, hasMask, initialised, lastVersion, list, nothing, notes, removed, sampled, usage,
};
