'use strict';

const { inspect } = require('node:util');

/** The properties that captureNativeJank needs, with their types. */
exports.captureProperties = {
  processId: 'number',
  threadId: 'number',
  jankType: 'string',
  janksDir: 'string',
  userId: 'string',
  deviceId: 'string',
  version: 'string',
  systemVersion: 'string',
  logFilename: 'string',
  living: 'boolean',
  uptime: 'number',
  duration: 'number',
};

/** A value in the words of Node.js' own messages. */
function describe(value) {
  if (value === null || value === undefined) return `${value}`;
  if (typeof value === 'function') return `function ${value.name || '(anonymous)'}`;
  if (typeof value === 'object') return `an instance of ${value.constructor?.name || 'Object'}`;
  const shown = inspect(value);
  return `type ${typeof value} (${shown.length > 28 ? `${shown.slice(0, 25)}...` : shown})`;
}

/**
 * Throws the TypeError that Node.js' own functions throw, unless `value` is of `type`: a result of typeof, except that a
 * function is an "object" too and null is none. `name` is the name of a parameter ("nativePid") or of a property with the
 * parameter before it ("args.processId").
 */
exports.checkType = (name, value, type) => {
  if (type === 'object' ? Object(value) === value : typeof value === type) return;
  const kind = name.includes('.') ? 'property' : 'argument';
  throw Object.assign(new TypeError(`The "${name}" ${kind} must be of type ${type}. Received ${describe(value)}`),
    { code: 'ERR_INVALID_ARG_TYPE' });
};

/** checkType() for an object's properties: `types` has the type of each required one. */
exports.checkProperties = (name, object, types) => {
  exports.checkType(name, object, 'object');
  for (const [property, type] of Object.entries(types)) exports.checkType(`${name}.${property}`, object[property], type);
};
