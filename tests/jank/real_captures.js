'use strict';
// Captures stalled processes into the folder that the first argument names and prints the results, for
// real_captures.host.test.mjs.
const { call, captureArgs, load, startStallTarget } = require('../support');

(async () => {
  const captured = [];
  for (const args of [['chain'], ['deep', '500']]) {
    const { kill, ...target } = await startStallTarget(...args);
    const janksDir = `${process.argv[2]}\\${args[0]} `;
    captured.push({ ...target, ...await call(load().captureNativeJank, captureArgs({ ...target, janksDir })) });
    await kill();
  }
  console.log(JSON.stringify(captured));
})();
