'use strict';

/** The module `inspector`, or null in a build of Node.js that has none. */
module.exports = process.features.inspector ? require('node:inspector') : null;
