'use strict';
// Captures a stalled process into the folder that the first argument names and says which thread stalled, for
// dump_reader.host.test.mjs.
const { call, load } = require('../support/windows.js');
const { captureArgs, startStallTarget } = require('../support/stall_target.js');

(async () => {
  const target = await startStallTarget('chain');
  const args = captureArgs({ ...target, janksDir: `${process.argv[2]}\\` });
  const result = await call(load().captureNativeJank, args);
  target.child.kill();
  console.log(JSON.stringify({ ...target, child: undefined, ...result }));
})();
