'use strict';
// What the test files share: require('../support').
module.exports = {
  assert: require('node:assert/strict'),
  fs: require('node:fs'),
  path: require('node:path'),
  sleep: require('node:timers/promises').setTimeout,
  test: require('node:test'),
  ...require('./scripted_system.js'),
  ...require('./windows_api.js'),
  ...require('./windows.js'),
  ...require('./waiting.js'),
};
