'use strict';

if (process.platform !== 'win32' || process.arch !== 'x64') {
  throw new Error(`borvanta-util runs on 64-bit Windows only, not on ${process.platform} ${process.arch}`);
}

const addon = require('../prebuilds/win32-x64/borvanta-util.node');

// One by one, so that ES modules can import them by name.
exports.getGuid = addon.getGuid;
exports.getCpuName = addon.getCpuName;
exports.getOsVersionWithReleaseId = addon.getOsVersionWithReleaseId;
exports.isDebugMode = addon.isDebugMode;
exports.createDuplicateMutex = addon.createDuplicateMutex;
exports.destroyDuplicateMutex = addon.destroyDuplicateMutex;
exports.enterStartupMask = addon.enterStartupMask;
exports.leaveStartupMask = addon.leaveStartupMask;
exports.removeOldVersion = addon.removeOldVersion;
exports.captureNativeJank = addon.captureNativeJank;
exports.initGpuUsage = addon.initGpuUsage;
exports.getGpuUsage = addon.getGpuUsage;
exports.enumProcessList = addon.enumProcessList;
