'use strict';

const fs = require('node:fs/promises');
const captureFields = require('../capture_fields.js');
const { checkType } = require('../check_arguments.js');
const { nameFrames } = require('./native_names/name_frames.js');
const { stallFiles } = require('./stall_files.js');

/** The members of a report with their types. */
const members = {
  dmp_file: 'string',
  main_thread_trace: 'string',
  ...Object.fromEntries(captureFields.filter(({ member }) => member).map(({ member, type }) => [member, type])),
};

/** The frames of a trace. Each of its lines ends with CR and LF. */
function parseTrace(trace) {
  const lines = trace.split('\r\n');
  const rest = lines.pop();
  const frames = lines.map((line) => /^(?<module>.+)!0x(?<offset>[0-9a-f]+)$/.exec(line)?.groups);
  if (rest || frames.includes(undefined)) throw new TypeError('"main_thread_trace" is not a trace');
  return frames.map(({ module, offset }) => ({ module, offset: Number.parseInt(offset, 16) }));
}

function parseReport(json) {
  const report = JSON.parse(json);
  for (const [name, type] of Object.entries(members)) {
    // The file has null for an uptime that is not a finite number.
    const isNull = name === 'uptime' && report?.[name] === null;
    if (!isNull && typeof report?.[name] !== type) throw new TypeError(`"${name}" is not a ${type}`);
  }
  return { ...report, frames: parseTrace(report.main_thread_trace) };
}

/** Like readReport(), but the frames have no function names. */
exports.readPlainReport = async (file) => {
  const json = await fs.readFile(file, 'utf8');
  try {
    return parseReport(json);
  } catch (cause) {
    throw Object.assign(new Error(`${file} is not a jank report: ${cause.message}`, { cause }),
      { code: 'ERR_INVALID_REPORT' });
  }
};

exports.readReport = async (file) => {
  checkType('path', file, 'string');
  const report = await exports.readPlainReport(file);
  const { dumpName, dumpPath, threadId } = stallFiles(file) ?? {};
  if (report.dmp_file === dumpName) await nameFrames(report.frames, dumpPath, threadId);
  return report;
};
