'use strict';

const path = require('node:path');
const { checkType } = require('../check_arguments.js');
const { printable } = require('./printable.js');

/** How many frames of a stack are shown. */
const most = { scriptFrames: 4, frames: 5 };

const seconds = (ms) => `${(ms / 1000).toFixed(1)} s`;

/** A frame of the native stack, as in the report's trace but with its function where that is known. */
exports.describeFrame = ({ module, offset, function: name }) => (
  printable(`${module}!${name ?? `0x${offset.toString(16)}`}`));

const describeScriptFrame = ({ function: name, url, line, column }) => (
  `${printable(name || '(anonymous)')} (${printable(url || '(unknown)')}:${line}:${column})`);

/** The lines of a stack under a title; one line if it is empty. */
function describeStack(title, frames, describe, count) {
  if (frames.length === 0) return [`${title}: not known`];
  const rest = frames.length - count;
  return [`${title}, the innermost function first:`, ...frames.slice(0, count).map((frame) => `  ${describe(frame)}`),
    ...(rest > 0 ? [`  and ${rest} more`] : [])];
}

/** The first line: how long and since when the loop stood still, and in which client. */
function describeTime({ report, stallMs, frozenAfterMs, since }) {
  const long = stallMs === undefined ? `had stood still for ${seconds(frozenAfterMs)} when captured`
    : `stood still for ${seconds(stallMs)}`;
  // Without a record only the name of the dump tells when that was, in the local time of that machine.
  const when = since ? `since ${printable(since)}` : `in the local time ${printable(path.parse(report.dmp_file).name)}`;
  const version = report.version && `, version ${printable(report.version)}`;
  return `The event loop ${long}, ${when}${version}`;
}

exports.formatStall = (stall) => {
  checkType('stall', stall, 'object');
  checkType('stall.report', stall.report, 'object');
  const { report, late, scriptFrames = [], scriptFramesLate = false, dumpPath, result } = stall;
  return [
    describeTime(stall),
    ...describeStack(`Script${scriptFramesLate ? ' (taken when the native code had returned)' : ''}`, scriptFrames,
      describeScriptFrame, most.scriptFrames),
    ...describeStack(`Native code${late ? ' (late: after the loop had turned again)' : ''}`, report.frames,
      exports.describeFrame, most.frames),
    result?.dumpJankResult.succ === false ? 'There is no dump' : `Dump: ${printable(dumpPath, 1000)}`,
  ].join('\n');
};
