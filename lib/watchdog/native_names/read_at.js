'use strict';

const fs = require('node:fs/promises');
const path = require('node:path');

/**
 * Opens a file and resolves to what `use(readAt)` resolves to. `readAt(offset, length)` resolves to a Buffer of exactly
 * `length` bytes. If the file does not have them, it rejects with a RangeError before it takes memory for them. Rejects
 * with the error of the file system if the file cannot be read.
 */
exports.withFile = async (file, use) => {
  // With its prefix \\?\ a path never means a device such as COM1.
  const handle = await fs.open(path.toNamespacedPath(path.resolve(file)));
  try {
    const stat = await handle.stat();
    const size = stat.isFile() ? stat.size : 0;
    return await use(async (offset, length) => {
      const outside = () => new RangeError(`${file} has no ${length} bytes at ${offset}`);
      if (offset + length > size) throw outside();
      const { buffer, bytesRead } = await handle.read(Buffer.alloc(length), 0, length, offset);
      if (bytesRead < length) throw outside();
      return buffer;
    });
  } finally {
    await handle.close();
  }
};
