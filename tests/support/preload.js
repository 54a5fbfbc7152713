'use strict';
// Loaded before each test file. Temporary files go to a folder that the runner removes after the process has ended,
// because a loaded module cannot be deleted before. Prints on stderr which test starts, so that the report can name a
// test that hangs or ends the process. Workers and forked processes load this file too, but are not test files.
const fs = require('node:fs');
const { isMainThread } = require('node:worker_threads');

process.env.TEMP = process.env.TMPDIR = process.env.BORVANTA_TEMP ?? require('node:os').tmpdir();
if (isMainThread && /\.test\.m?js$/.test(process.argv[1])) {
  require('node:test').beforeEach((t) => fs.writeSync(2, `running: ${t?.name}\n`));
}
