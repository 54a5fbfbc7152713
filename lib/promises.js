'use strict';

const util = require('./index.js');
const captureFields = require('./capture_fields.js');
const { checkType } = require('./check_arguments.js');

// A promise rejects with an error that names the bad argument; the module itself would only say "Invalid arg". Further
// arguments are dropped, so that each function can be given to then() or map().

/** @type {typeof import('./promises.js').captureNativeJank} */
exports.captureNativeJank = (args) => new Promise((resolve) => {
  checkType('args', args, 'object');
  for (const { property, type } of captureFields) checkType(`args.${property}`, args[property], type);
  util.captureNativeJank(args, resolve);
});

/** @type {typeof import('./promises.js').getGpuUsage} */
exports.getGpuUsage = (nativePid, gpuPid) => new Promise((resolve) => {
  checkType('nativePid', nativePid, 'number');
  checkType('gpuPid', gpuPid, 'number');
  util.getGpuUsage(nativePid, gpuPid, resolve);
});

/** @type {typeof import('./promises.js').enumProcessList} */
exports.enumProcessList = () => new Promise((resolve) => { util.enumProcessList(resolve); });
