'use strict';

const path = require('node:path');
const { getOsVersionWithReleaseId } = require('../index.js');
const captureFields = require('../capture_fields.js');
const { checkType } = require('../check_arguments.js');

/** The properties of captureNativeJank's argument that are strings of the report. */
const reportStrings = captureFields.filter(({ type, member }) => type === 'string' && member)
  .map(({ property }) => property);

/** The defaults of the optional options. The type of a default is also the type that the option must have. */
const defaults = () => ({
  onError: ({ message, code }) => process.emitWarning(message, { type: 'JankWarning', code }),
  thresholdMs: 1000,
  maxCapturesPerHour: 10,
  threadId: 0,
  ...Object.fromEntries(reportStrings.map((property) => [property, ''])),
  jankType: 'event-loop',
  systemVersion: getOsVersionWithReleaseId(),
  living: () => true,
  execPath: process.execPath,
  env: {},
  scriptStack: true,
  startTimeoutMs: 30_000,
});

function checkRange(name, value, min, max) {
  if (value >= min && value <= max) return;
  throw Object.assign(new RangeError(`The "${name}" property must be >= ${min} and <= ${max}. Received ${value}`),
    { code: 'ERR_OUT_OF_RANGE' });
}

function checkValue(name, isRight, expected) {
  if (isRight) return;
  throw Object.assign(new TypeError(`The "${name}" property must be ${expected}`), { code: 'ERR_INVALID_ARG_VALUE' });
}

/** Checks the options of watchForJank() and returns all of them, with defaults and an absolute janksDir. */
exports.readOptions = (options) => {
  checkType('options', options, 'object');
  const { janksDir, onJank, signal } = options;
  checkType('options.janksDir', janksDir, 'string');
  checkType('options.onJank', onJank, 'function');
  checkValue('options.janksDir', janksDir !== '', 'the path of a folder');
  if (signal !== undefined) checkType('options.signal.aborted', signal?.aborted, 'boolean');
  /** @type {any} */
  const read = { onJank, signal, janksDir: path.resolve(janksDir) };
  for (const [name, value] of Object.entries(defaults())) {
    read[name] = options[name] === undefined ? value : options[name];
    checkType(`options.${name}`, read[name], typeof value);
  }
  checkRange('options.thresholdMs', read.thresholdMs, 100, 3_600_000);
  checkRange('options.maxCapturesPerHour', read.maxCapturesPerHour, 1, 3600);
  checkRange('options.startTimeoutMs', read.startTimeoutMs, 1000, 3_600_000);
  checkRange('options.threadId', read.threadId, 0, 0xFFFF_FFFF);
  return read;
};
