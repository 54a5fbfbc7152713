'use strict';
// Captures stalled processes into the folder that the first argument names and prints the results, for
// real_captures.host.test.mjs.
const { captureArgs, startStallTarget } = require('../support/stall_target.js');
const { call, load } = require('../support/windows.js');

(async () => {
  const captured = [];
  for (const args of [['chain'], ['deep', '500']]) {
    const { child, ...target } = await startStallTarget(...args);
    const janksDir = `${process.argv[2]}\\${args[0]} `;
    captured.push({ ...target, ...await call(load().captureNativeJank, captureArgs({ ...target, janksDir })) });
    child.kill();
  }
  console.log(JSON.stringify(captured));
})();
