'use strict';

const path = require('node:path');
const { getEnvironmentData, setEnvironmentData } = require('node:worker_threads');
const { name, version } = require('../package.json');

if (process.platform !== 'win32' || process.arch !== 'x64') {
  const message = `${name} needs x64 Node.js on Windows. This is Node.js for ${process.platform} ${process.arch}.`;
  throw Object.assign(new Error(message), { code: 'ERR_FEATURE_UNAVAILABLE_ON_PLATFORM' });
}

// Each module file has its own state: the mutex that it holds, its GPU counters, its locks. So all copies of this
// version use the file of the copy that was loaded first, in this thread and in the script workers that are started
// after that.
const key = `${name}@${version}`;
const loaded = /** @type {string | undefined} */ (getEnvironmentData(key));
const file = loaded ?? path.join(__dirname, '..', 'prebuilds', 'win32-x64', 'borvanta-util.node');

try {
  // Bundlers look for a require() of a string literal, so the usual path is written as one.
  // @ts-ignore: TypeScript knows no *.node.
  module.exports = loaded ? require(loaded) : require('../prebuilds/win32-x64/borvanta-util.node');
} catch (cause) {
  const advice = cause.code === 'ERR_DLOPEN_DISABLED'
    ? 'Node.js was started without native add-ons. With --permission, also pass --allow-addons.'
    : 'The file must exist, be complete and have this name. Install the package again. In a bundled application keep '
      + `${name} external, in an archive unpack *.node (docs/bundling.md).`;
  throw Object.assign(new Error(`${name} could not load ${file}. ${advice}`, { cause }), { code: cause.code });
}
setEnvironmentData(key, file);

// This is never called. Node.js reads in it which names an ES module can import.
() => {
  exports.getGuid = exports.getCpuName = exports.getOsVersionWithReleaseId = exports.isDebugMode
    = exports.createDuplicateMutex = exports.destroyDuplicateMutex = exports.enterStartupMask = exports.leaveStartupMask
    = exports.removeOldVersion = exports.captureNativeJank = exports.initGpuUsage = exports.getGpuUsage
    = exports.enumProcessList = undefined;
};
