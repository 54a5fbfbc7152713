'use strict';

const fs = require('node:fs/promises');
const path = require('node:path');
const { setTimeout: sleep } = require('node:timers/promises');
const { captureNativeJank } = require('../promises.js');
const { readReport } = require('./read_report.js');

const failure = (result) => Object.assign(new Error(`A capture failed: ${result.errorText}`),
  { code: 'ERR_CAPTURE_FAILED', result });

/**
 * Calls captureNativeJank, which appends file names to janksDir without a separator, and which gives Windows the path
 * as it is. Only a path with the prefix of path.toNamespacedPath() may be long.
 */
const capture = (/** @type {any} */ { janksDir, ...args }) => (
  captureNativeJank({ ...args, janksDir: path.toNamespacedPath(janksDir) + path.sep }));

/**
 * Runs a capture up to the freeze, so that DbgHelp and the files that it reads are in memory when a stall comes. The
 * capture stops there because the process has no thread with the id 0. Rejects if it fails earlier, because every other
 * capture would then fail too.
 */
exports.warmUp = async (settings) => {
  const result = await capture({ ...settings, threadId: 0, living: true, uptime: 0, duration: 0 });
  if (result.errorText !== 'Failed open thread') throw failure(result);
};

const lookMs = 10;
const listDumps = async (folder) => (
  (await fs.readdir(folder).catch(() => [])).filter((name) => /^\d{4}(-\d\d){2} \d\d(-\d\d){2}\.dmp$/.test(name)));

/**
 * Calls `onDump` when there is a dump in the folder that is not `known`; not after `signal` is aborted. It looks again
 * and again, because fs.watch() may abort the process if the path has a short name such as "RUNNER~1" (libuv's issue
 * 5010): the thread would stay frozen.
 */
async function watchForDump(folder, known, onDump, signal) {
  while (!signal.aborted) {
    if ((await listDumps(folder)).some((name) => !known.includes(name))) return onDump();
    await sleep(lookMs);
  }
}

/**
 * Captures `stall` (stall.js). Resolves to `jank`, the argument of onJank as far as it is known before the stall is
 * over, and to the times between which the thread was frozen, `frozenAt` and `thawedAt`, as Date.now(). Calls
 * `onFrozen` when the thread is seen to be frozen.
 */
exports.captureStall = async (settings, stall, onFrozen) => {
  await fs.mkdir(settings.janksDir, { recursive: true }); // Somebody may have removed it.
  const known = await listDumps(settings.janksDir);
  const calledAt = Date.now();
  const captured = new AbortController();
  watchForDump(settings.janksDir, known, onFrozen, captured.signal);
  const result = await capture({ ...settings, ...stall.fields }).finally(() => captured.abort());
  const returnedAt = Date.now();
  if (!result.jsonFilename) throw failure(result);

  const reportPath = path.join(settings.janksDir, result.jsonFilename);
  const report = await readReport(reportPath);
  const dumpPath = path.join(settings.janksDir, report.dmp_file);
  // The dump is created and closed while the thread is frozen, and the report is created right after that.
  const { birthtimeMs, mtimeMs } = await fs.stat(dumpPath).catch(() => fs.stat(reportPath));
  const frozenAt = Math.min(Math.max(birthtimeMs, calledAt), returnedAt);
  const frozenAfterMs = Math.round(frozenAt - stall.startedAt);
  return { jank: { frozenAfterMs, report, reportPath, dumpPath, result }, frozenAt, thawedAt: mtimeMs };
};
