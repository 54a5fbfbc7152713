'use strict';

const util = require('./index.js');

// What a function refuses with a TypeError, its promise form rejects with it. Further arguments are dropped, so that
// each can stand in a then() or a map().

exports.captureNativeJank = (args) => new Promise((resolve) => { util.captureNativeJank(args, resolve); });
exports.getGpuUsage = (nativePid, gpuPid) => new Promise((resolve) => { util.getGpuUsage(nativePid, gpuPid, resolve); });
exports.enumProcessList = () => new Promise((resolve) => { util.enumProcessList(resolve); });
