'use strict';

const path = require('node:path');
const { readDump } = require('./dump.js');
const { readImage } = require('./executable.js');
const { readFunctionNames } = require('./function_names.js');
const { withFile } = require('./read_at.js');

/** Deeper frames are not named: what blocks a thread is at the top of its stack. */
const mostFrames = 200;

/**
 * Only a full path on a drive. A dump from another machine must not make this process connect to a server, whose path
 * begins with two backslashes.
 */
const onDrive = /^[a-z]:\\/i;

/** The modules by their file names. A name that two modules share has no module. */
function byFileName(modules) {
  const found = new Map();
  for (const module of modules) {
    const name = path.win32.basename(module.path).toLowerCase();
    found.set(name, found.has(name) ? undefined : module);
  }
  return found;
}

/** Sets `function` in `frames`, [{ frame, isReturn }], which are all in `module`. */
const nameFramesOf = (module, frames) => withFile(module.path, async (readAt) => {
  const image = await readImage(readAt);
  if (image.imageSize !== module.imageSize || image.timeStamp !== module.timeStamp) return;
  const nameAt = await readFunctionNames(image);
  for (const { frame, isReturn } of frames) {
    const name = await nameAt(frame.offset, isReturn).catch(() => undefined);
    if (name) frame.function = name;
  }
});

/**
 * Sets `function` in those frames whose function is certain. The names come from the files that the dump at `dumpPath`
 * lists, if each still is the file that was loaded: so on Windows only. `threadId` is the thread of the frames: a dump
 * without it is one of another process. Never rejects: what cannot be read gives no names.
 */
exports.nameFrames = async (frames, dumpPath, threadId) => {
  if (process.platform !== 'win32') return;
  const dump = await readDump(dumpPath).catch(() => undefined);
  if (!dump?.threadIds.includes(threadId)) return;
  const modules = byFileName(dump.modules);
  const framesOf = new Map();
  for (const [index, frame] of frames.slice(0, mostFrames).entries()) {
    const module = modules.get(frame.module.toLowerCase());
    if (module && onDrive.test(module.path)) {
      framesOf.set(module, [...framesOf.get(module) ?? [], { frame, isReturn: index > 0 }]);
    }
  }
  for (const [module, of] of framesOf) await nameFramesOf(module, of).catch(() => {});
};
