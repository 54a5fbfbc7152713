// Compiled, not run: the package's types under CommonJS.
import util = require('../../lib/index.js');
import promises = require('../../lib/promises.js');

const debugMode: boolean = util.isDebugMode();
const description: string = `${util.getGuid()} ${util.getCpuName()} ${util.getOsVersionWithReleaseId()}`;
const nothing: void = util.enumProcessList(({ list }) => list.map(({ pid, name }) => `${pid.toFixed()} ${name.trim()}`));
const list: Promise<util.ProcessListResult> = promises.enumProcessList();

// @ts-expect-error a callback is required
util.enumProcessList();
// @ts-expect-error a pid is a number
util.enumProcessList(({ list: [first] }) => first!.pid.trim());

export { debugMode, description, list, nothing };
