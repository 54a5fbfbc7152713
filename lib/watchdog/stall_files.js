'use strict';
// The files of a stall lie in one folder. For example:
//   2026-11-21 07-08-49.dmp             the dump, perhaps of several reports
//   2026-11-21 07-08-49.dmp-292.json    the report of the stall of thread 292
//   2026-11-21 07-08-49.dmp-292.stall   the record: what else onJank got

const path = require('node:path');

/**
 * The files that belong to the report at `reportPath`, and the thread's id; undefined if that is not a name that a
 * capture gives. Only the report's own name tells the others: what is written in a file never leads to other files.
 */
exports.stallFiles = (reportPath) => {
  const named = /^(?<dump>.+\.dmp)-(?<thread>\d+)\.json$/.exec(path.basename(reportPath))?.groups;
  if (!named) return undefined;
  const folder = path.dirname(reportPath);
  return {
    threadId: Number(named.thread),
    dumpName: named.dump,
    dumpPath: path.join(folder, named.dump),
    recordPath: path.join(folder, `${named.dump}-${named.thread}.stall`),
  };
};
