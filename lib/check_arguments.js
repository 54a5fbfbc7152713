'use strict';

const { inspect } = require('node:util');

/** Describes a value in the same words as Node.js' own error messages. */
function describe(value) {
  if (value === null || value === undefined) return `${value}`;
  if (typeof value === 'function') return `function ${value.name || '(anonymous)'}`;
  if (typeof value === 'object') return `an instance of ${value.constructor?.name || 'Object'}`;
  const shown = inspect(value);
  return `type ${typeof value} (${shown.length > 28 ? `${shown.slice(0, 25)}...` : shown})`;
}

/**
 * Throws the same TypeError as Node.js' own functions, unless `value` is of `type`. A type is a result of typeof,
 * except that a function also counts as an "object" and null does not. `name` is the name of a parameter ("nativePid"),
 * or the names of a parameter and its property ("args.processId").
 */
exports.checkType = (name, value, type) => {
  if (type === 'object' ? Object(value) === value : typeof value === type) return;
  const kind = name.includes('.') ? 'property' : 'argument';
  throw Object.assign(new TypeError(`The "${name}" ${kind} must be of type ${type}. Received ${describe(value)}`),
    { code: 'ERR_INVALID_ARG_TYPE' });
};
