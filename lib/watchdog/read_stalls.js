'use strict';

const fs = require('node:fs/promises');
const path = require('node:path');
const { checkType } = require('../check_arguments.js');
const { readStall } = require('./stall_record.js');
const { stallFiles } = require('./stall_files.js');

/** The name of a dump is the local time of its capture. */
const dumpName = /^(\d{4}-\d\d-\d\d) (\d\d)-(\d\d)-(\d\d)\.dmp$/;

const recordName = /\.dmp-\d+\.stall$/;

/** When a stall was, in milliseconds; for the order only. */
const timeOf = ({ since, report }) => Date.parse(since ?? report.dmp_file.replace(dumpName, '$1T$2:$3:$4')) || 0;

/** The names of all files in a folder. Folders and links are left out; a folder that does not exist has no files. */
async function fileNames(folder) {
  const entries = await fs.readdir(folder, { withFileTypes: true }).catch((error) => {
    if (error.code !== 'ENOENT') throw error;
    return [];
  });
  return entries.filter((entry) => entry.isFile()).map(({ name }) => name).sort();
}

exports.readStalls = async (janksDir) => {
  checkType('janksDir', janksDir, 'string');
  const folder = path.resolve(janksDir);
  const names = await fileNames(folder);
  const [stalls, unreadable] = [[], []];
  const alone = new Set(names.filter((name) => dumpName.test(name) || recordName.test(name)));
  for (const name of names) {
    const reportPath = path.join(folder, name);
    const files = stallFiles(reportPath);
    if (!files) continue;
    alone.delete(files.dumpName);
    alone.delete(path.basename(files.recordPath));
    try {
      const { stall, recordError } = await readStall(reportPath);
      stalls.push(stall);
      if (recordError) unreadable.push({ path: files.recordPath, error: recordError });
    } catch (error) {
      unreadable.push({ path: reportPath, error });
    }
  }
  for (const name of alone) {
    const error = Object.assign(new Error(`${name} has no report`), { code: 'ERR_NO_REPORT' });
    unreadable.push({ path: path.join(folder, name), error });
  }
  return { stalls: stalls.sort((one, other) => timeOf(one) - timeOf(other)), unreadable };
};

exports.removeStall = async (stall) => {
  checkType('stall', stall, 'object');
  checkType('stall.reportPath', stall.reportPath, 'string');
  const { reportPath } = stall;
  const files = stallFiles(reportPath);
  if (!files) {
    const message = `The "stall.reportPath" property must be the path of a report. Received ${reportPath}`;
    throw Object.assign(new TypeError(message), { code: 'ERR_INVALID_ARG_VALUE' });
  }
  const { dumpName: dump, dumpPath, recordPath } = files;
  const folder = path.dirname(reportPath);
  const names = await fileNames(folder);
  const isShared = names.some((name) => name !== path.basename(reportPath) && stallFiles(name)?.dumpName === dump);
  // Records whose writer was ended before it had finished.
  const unfinished = names.filter((name) => name.startsWith(`${path.basename(recordPath)}.`) && name.endsWith('.tmp'));

  // The report last: if something cannot be deleted, readStalls() finds the stall again.
  if (!isShared) await fs.rm(dumpPath, { force: true });
  for (const file of [recordPath, ...unfinished.map((name) => path.join(folder, name)), reportPath]) {
    await fs.rm(file, { force: true });
  }
};
