'use strict';
// Makes this process run on a machine with GPU counters: a library that is loaded already answers for the system's of
// the same name. To be required before anything loads the module.
const path = require('node:path');
const { call, load } = require('../support/windows.js');

const { buildFolder: build } = require('../support/windows.js');
const loaded = { exports: {} };
process.dlopen(loaded, path.join(build, 'stand_ins', 'pdh.dll'));

/** Plays the counters and is driven as tests/stand_ins/pdh/pdh.cc tells. */
const pdh = loaded.exports;
const util = load();

let seen = 0;

/** The PDH calls since this was last asked. */
function calls() {
  const all = pdh.report().calls;
  return all.slice(seen, seen = all.length);
}

/** Waits for a condition that comes about on other threads; throws when it does not. */
async function until(condition) {
  for (let tries = 0; !condition(); ++tries) {
    if (tries === 1000) throw new Error(`in vain: ${condition} ${JSON.stringify(pdh.report())}`);
    await new Promise((resolve) => { setTimeout(resolve, 10); });
  }
}

/** initGpuUsage, resolving when it has come to its last PDH call. */
async function init(lastCall = 'PdhCollectQueryData') {
  const count = () => pdh.report().calls.filter((name) => name === lastCall).length;
  const before = count();
  util.initGpuUsage();
  await until(() => count() > before);
}

/** getGpuUsage as a promise. */
const sample = (nativePid, gpuPid) => call(util.getGpuUsage, nativePid, gpuPid);

module.exports = { calls, init, pdh, sample, until, util };
