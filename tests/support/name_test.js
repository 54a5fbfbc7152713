'use strict';
// Loaded before each test file: says on stderr which test is running, for the report of one that never ends or that ends
// the process. Workers and forked processes load it too, and are no test files.
const fs = require('node:fs');
const { isMainThread } = require('node:worker_threads');

if (isMainThread && /\.test\.js$/.test(process.argv[1])) {
  require('node:test').beforeEach((t) => fs.writeSync(2, `running: ${t?.name}\n`));
}
