'use strict';
// Loaded before each test file: says on stderr which test is running, for the report of one that never ends or that ends
// the process.
const fs = require('node:fs');
const test = require('node:test');

test.beforeEach((t) => fs.writeSync(2, `running: ${t?.name}\n`));
