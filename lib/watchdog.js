'use strict';

// Set one by one, so that ES modules can import them by name.
exports.mainThreadId = require('./watchdog/main_thread_id.js').mainThreadId;
exports.readReport = require('./watchdog/read_report.js').readReport;
exports.watchForJank = require('./watchdog/watch_for_jank.js').watchForJank;
