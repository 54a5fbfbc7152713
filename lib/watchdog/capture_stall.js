'use strict';

const fs = require('node:fs/promises');
const path = require('node:path');
const { captureNativeJank } = require('../promises.js');
const { readReport } = require('./read_report.js');

const failure = (result) => Object.assign(new Error(`A capture failed: ${result.errorText}`),
  { code: 'ERR_CAPTURE_FAILED', result });

/**
 * Runs a capture up to the freeze, so that DbgHelp and the files that it reads are in memory when a stall comes. The
 * capture stops there because the process has no thread with the id 0. Rejects if it fails earlier, because every other
 * capture would then fail too.
 */
exports.warmUp = async (settings) => {
  const result = await captureNativeJank({ ...settings, threadId: 0, living: true, uptime: 0, duration: 0 });
  if (result.errorText !== 'Failed open thread') throw failure(result);
};

/**
 * Captures a loop that has stood still for `stalledMs` and resolves to the argument of onJank. `turnedAt` returns the
 * time at which the loop turned again, as Date.now() of the watched process, or undefined if it has not.
 */
exports.captureStall = async (settings, { stalledMs, uptime, living, turnedAt }) => {
  const calledAt = Date.now();
  const result = await captureNativeJank({ ...settings, living, uptime, duration: Math.round(stalledMs) });
  const returnedAt = Date.now();
  if (!result.jsonFilename) throw failure(result);

  const reportPath = path.join(settings.janksDir, result.jsonFilename);
  const report = await readReport(reportPath);
  const dumpPath = path.join(settings.janksDir, report.dmp_file);
  // The dump is created and closed while the thread is frozen, and the report is created right after that.
  const { birthtimeMs, mtimeMs } = await fs.stat(dumpPath).catch(() => fs.stat(reportPath));
  const late = turnedAt() < mtimeMs;
  const end = Math.min(Math.max(late ? turnedAt() : birthtimeMs, calledAt), returnedAt);
  const since = new Date(calledAt - stalledMs).toISOString();
  const duration = Math.round(stalledMs + end - calledAt);
  return { since, late, duration, scriptFrames: [], scriptFramesLate: false, report, reportPath, dumpPath, result };
};
