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
});

function checkRange(name, value, min, max) {
  if (value >= min && value <= max) return;
  throw Object.assign(new RangeError(`The "${name}" property must be >= ${min} and <= ${max}. Received ${value}`),
    { code: 'ERR_OUT_OF_RANGE' });
}

/** Checks the options of watchForJank() and returns all of them, with defaults and an absolute janksDir. */
exports.readOptions = (options) => {
  checkType('options', options, 'object');
  const { janksDir, onJank } = options;
  checkType('options.janksDir', janksDir, 'string');
  checkType('options.onJank', onJank, 'function');
  // captureNativeJank appends file names without a separator, so the directory must end with one.
  /** @type {any} */
  const read = { onJank, janksDir: path.join(path.resolve(janksDir), path.sep) };
  for (const [name, value] of Object.entries(defaults())) {
    read[name] = options[name] === undefined ? value : options[name];
    checkType(`options.${name}`, read[name], typeof value);
  }
  checkRange('options.thresholdMs', read.thresholdMs, 100, 3_600_000);
  checkRange('options.maxCapturesPerHour', read.maxCapturesPerHour, 1, 3600);
  return read;
};
