'use strict';

const fs = require('node:fs');
const path = require('node:path');

const claimed = new Set();

/**
 * Creates the folder, checks that files can be written into it, and claims it for one watch of this process: two would
 * replace each other's files. Throws the error of the file system, or one with code "ERR_FOLDER_IN_USE". Returns the
 * function that ends the claim.
 */
exports.claimFolder = (folder) => {
  fs.mkdirSync(folder, { recursive: true });
  const real = fs.realpathSync(folder).toLowerCase();
  if (claimed.has(real)) {
    const error = new Error(`A watch of this process already writes to ${folder}`);
    throw Object.assign(error, { code: 'ERR_FOLDER_IN_USE' });
  }
  const attempt = path.join(folder, `borvanta-util-${process.pid}.tmp`);
  fs.writeFileSync(attempt, '');
  fs.rmSync(attempt, { force: true });
  claimed.add(real);
  return () => claimed.delete(real);
};
