'use strict';
// Loaded before each test file: prints on stderr which test runs, so that the report can name a test that hangs or ends the
// process. Workers and forked processes load it too, but are no test files.
const fs = require('node:fs');
const { isMainThread } = require('node:worker_threads');

if (isMainThread && /\.test\.js$/.test(process.argv[1])) {
  require('node:test').beforeEach((t) => fs.writeSync(2, `running: ${t?.name}\n`));
}
