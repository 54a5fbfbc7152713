'use strict';

const fs = require('node:fs/promises');
const { setTimeout: sleep } = require('node:timers/promises');
const { nameFrames } = require('./native_names/name_frames.js');
const { readPlainReport } = require('./read_report.js');
const { stallFiles } = require('./stall_files.js');

/** Lines and columns begin with 1. */
const isPosition = (value) => Number.isInteger(value) && value > 0;
const isScriptFrame = (value) => typeof value?.function === 'string' && typeof value.url === 'string'
  && isPosition(value.line) && isPosition(value.column);

/** The properties of a stall that only its record has, each with a check of its value. */
const properties = {
  since: (value) => value === undefined || (typeof value === 'string' && !Number.isNaN(Date.parse(value))),
  stallMs: (value) => value === undefined || Number.isFinite(value),
  frozenAfterMs: Number.isFinite,
  late: (value) => typeof value === 'boolean',
  scriptFrames: (value) => Array.isArray(value) && value.every(isScriptFrame),
  scriptFramesLate: (value) => typeof value === 'boolean',
};

/** What is known of a stall without a record. */
const fromReport = ({ duration }) => (
  { frozenAfterMs: duration, late: false, scriptFrames: [], scriptFramesLate: false });

/** Antivirus programs open new files for a moment, and Windows then does not replace them. */
async function rename(from, to) {
  for (let left = 5; ; left -= 1) {
    try {
      return await fs.rename(from, to);
    } catch (error) {
      if (left === 0 || !['EPERM', 'EACCES', 'EBUSY'].includes(error.code)) throw error;
    }
    await sleep(20);
  }
}

/**
 * Writes the record of a stall beside its report, or replaces it. The record appears whole or not at all: it is written
 * to another file, which then gets its name. Several processes may call this at the same time; the last one wins.
 * Rejects with the error of the file system, also if the report is gone: then the stall has been removed.
 */
exports.writeStallRecord = async (stall) => {
  const { recordPath } = stallFiles(stall.reportPath);
  const { uptime, frames } = stall.report;
  const record = { uptime, functions: frames.map((frame) => frame.function ?? null) };
  const known = { ...fromReport(stall.report), ...stall };
  for (const name of Object.keys(properties)) record[name] = known[name];

  await fs.access(stall.reportPath);
  const temporary = `${recordPath}.${process.pid}-${Math.random().toString(36).slice(2)}.tmp`;
  try {
    const file = await fs.open(temporary, 'wx');
    try {
      await file.writeFile(JSON.stringify(record));
      await file.sync();
    } finally {
      await file.close();
    }
    await rename(temporary, recordPath);
  } catch (error) {
    await fs.rm(temporary, { force: true });
    throw error;
  }
};

function parseRecord(json, { uptime, frames }) {
  const { functions, ...record } = JSON.parse(json);
  for (const [name, check] of Object.entries(properties)) {
    if (!check(record[name])) throw new TypeError(`"${name}" is wrong`);
  }
  // If the clock was set back, a new report can have replaced that of an older stall.
  if (record.uptime !== uptime) throw new TypeError('it belongs to another report');
  const isName = (value) => value === null || typeof value === 'string';
  if (functions?.length !== frames.length || !functions.every(isName)) throw new TypeError('"functions" is wrong');
  return { functions, known: Object.fromEntries(Object.keys(properties).map((name) => [name, record[name]])) };
}

async function readRecord(recordPath, report) {
  const json = await fs.readFile(recordPath, 'utf8');
  try {
    return parseRecord(json, report);
  } catch (cause) {
    throw Object.assign(new Error(`${recordPath} is not the record of a stall: ${cause.message}`, { cause }),
      { code: 'ERR_INVALID_RECORD' });
  }
}

/**
 * Reads the report of a stall, and its record if it has one. Resolves to { stall, recordError }; `recordError` says why
 * a record could not be used: the stall is then as without one. Rejects if the report cannot be read.
 */
exports.readStall = async (reportPath) => {
  const report = await readPlainReport(reportPath);
  const { dumpName, dumpPath, recordPath, threadId } = stallFiles(reportPath);
  if (report.dmp_file !== dumpName) {
    throw Object.assign(new Error(`${reportPath} names another dump than its own: ${report.dmp_file}`),
      { code: 'ERR_INVALID_REPORT' });
  }
  /** @type {Record<string, any>} */
  let known = fromReport(report);
  let recordError;
  try {
    const record = await readRecord(recordPath, report);
    known = record.known;
    record.functions.forEach((name, index) => { if (name) report.frames[index].function = name; });
  } catch (error) {
    if (error.code !== 'ENOENT') recordError = error;
    await nameFrames(report.frames, dumpPath, threadId);
  }
  return { stall: { ...known, report, reportPath, dumpPath }, recordError };
};
