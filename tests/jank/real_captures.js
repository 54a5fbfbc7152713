'use strict';
// Captures stalled processes into the folder that the first argument names and prints the results, for
// real_captures.host.test.mjs.
const { call, captureArgs, load, startStallTarget } = require('../support');

(async () => {
  const captured = [];
  for (const [depth, name] of [[1, 'chain'], [500, 'deep']]) {
    const { kill, ...target } = await startStallTarget(depth);
    const janksDir = `${process.argv[2]}\\${name} `;
    captured.push({ ...target, ...await call(load().captureNativeJank, captureArgs({ ...target, janksDir })) });
    await kill();
  }
  console.log(JSON.stringify(captured));
})();
