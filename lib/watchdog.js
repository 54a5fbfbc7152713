'use strict';

// Set one by one, so that ES modules can import them by name.
exports.mainThreadId = require('./watchdog/main_thread_id.js').mainThreadId;
exports.readReport = require('./watchdog/read_report.js').readReport;
exports.formatStall = require('./watchdog/format_stall.js').formatStall;
exports.readStalls = require('./watchdog/read_stalls.js').readStalls;
exports.removeStall = require('./watchdog/read_stalls.js').removeStall;
exports.watchForJank = require('./watchdog/watch_for_jank.js').watchForJank;
