'use strict';

const path = require('node:path');
const { describeFrame } = require('./format_stall.js');
const { printable } = require('./printable.js');

/** How many innermost frames two stalls must share to be of one group. */
const most = 3;

/** Modules of Windows and Node.js at the top of most stacks. An executable holds Node.js, whatever its name is. */
const common = new RegExp(`^(<unknown>|.*\\.exe|(${[
  'node', 'libnode', 'ntdll', 'kernel32', 'kernelbase', 'user32', 'win32u', 'gdi32', 'gdi32full', 'advapi32', 'sechost',
  'rpcrt4', 'combase', 'ole32', 'oleaut32', 'msvcrt', 'ucrtbase', 'msvcp140', 'vcruntime140(_1)?', 'ws2_32', 'mswsock',
  'bcrypt', 'bcryptprimitives', 'crypt32', 'iphlpapi', 'dnsapi', 'winmm', 'shell32', 'shlwapi', 'shcore', 'imm32',
  'dbghelp', 'dbgcore', 'wow64(win|cpu|base)?',
].join('|')})(\\.dll)?)$`, 'i');

/** A function of script with its file's name, without the folder, which differs between machines. */
const describeScript = ({ function: name, url }) => (
  `${printable(name || '(anonymous)')} (${printable(path.win32.basename(url) || '(unknown)')})`);

/** The frames that tell what a stall was: one printable line each. */
function tellingFrames({ late, scriptFrames, report }) {
  const script = scriptFrames.filter(({ url }) => !url.startsWith('node:'));
  if (script.length > 0) return script.slice(0, most).map(describeScript);
  // The native stack of a late capture is what came after the stall.
  const own = late ? [] : report.frames.filter(({ module }) => !common.test(module));
  return own.slice(0, most).map(describeFrame);
}

/**
 * Groups stalls that share their innermost frames: those of script without Node.js' own, or, where there are none,
 * those of modules that are neither Windows' nor Node.js'. Returns { frames, count, ms }[], the longest sum of
 * milliseconds first. `frames` has printable lines; it is empty for the stalls that have no such frame.
 */
exports.groupStalls = (stalls) => {
  const groups = new Map();
  for (const stall of stalls) {
    const frames = tellingFrames(stall);
    const key = frames.join('\n');
    const group = groups.get(key) ?? { frames, count: 0, ms: 0 };
    groups.set(key, group);
    group.count += 1;
    group.ms += stall.stallMs ?? stall.frozenAfterMs;
  }
  return [...groups.values()].sort((one, other) => other.ms - one.ms);
};
