'use strict';

const util = require('./index.js');

/** The promise form of a function whose last parameter is a callback with one argument. A bad argument rejects. */
function promisify(start) {
  return async (...args) => new Promise((resolve) => {
    start(...args, resolve);
  });
}

exports.captureNativeJank = promisify(util.captureNativeJank);
exports.getGpuUsage = promisify(util.getGpuUsage);
exports.enumProcessList = promisify(util.enumProcessList);
