'use strict';

const { watch } = require('node:fs');
const fs = require('node:fs/promises');
const path = require('node:path');
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

/** Calls `onDump` when a new dump appears, if the drive tells such things. Returns the function that ends this. */
async function onNextDump(folder, onDump) {
  const known = await fs.readdir(folder); // Others may remove old dumps meanwhile.
  try {
    const watcher = watch(folder, (event, name) => { if (name?.endsWith('.dmp') && !known.includes(name)) onDump(); });
    watcher.on('error', () => {});
    return () => watcher.close();
  } catch {
    return () => {};
  }
}

/**
 * Captures `stall` (stall.js). Resolves to `jank`, the argument of onJank as far as it is known before the stall is
 * over, and to the times between which the thread was frozen, `frozenAt` and `thawedAt`, as Date.now(). Calls `onFrozen`
 * when the thread is frozen, if the drive of janksDir tells it.
 */
exports.captureStall = async (settings, stall, onFrozen) => {
  await fs.mkdir(settings.janksDir, { recursive: true }); // Somebody may have removed it.
  const stopWatching = await onNextDump(settings.janksDir, onFrozen);
  const calledAt = Date.now();
  const result = await capture({ ...settings, ...stall.fields });
  stopWatching();
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
