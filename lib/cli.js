#!/usr/bin/env node
'use strict';
// npx borvanta-util: prints stalls that the watchdog captured, on every system.

const fs = require('node:fs/promises');
const path = require('node:path');
const { parseArgs } = require('node:util');
const { formatStall } = require('./watchdog/format_stall.js');
const { groupStalls } = require('./watchdog/group_stalls.js');
const { printable } = require('./watchdog/printable.js');
const { readStalls } = require('./watchdog/read_stalls.js');
const { readStall } = require('./watchdog/stall_record.js');
const { stallFiles } = require('./watchdog/stall_files.js');

const usage = `Usage: borvanta-util DIR|REPORT.json... [--group]
Prints the stalls whose reports are in a folder or in a file: how long, since when, and what was running.
  --group  counts the stalls that share their innermost functions, those that cost the most time first
The exit code is 0 if everything could be read, 1 if not, and 2 if the command is wrong.`;

/** Reads a folder or a report, in the form of readStalls(). */
async function read(file) {
  if ((await fs.stat(file)).isDirectory()) return readStalls(file);
  if (!stallFiles(file)) {
    throw new Error(`${file} is not named like a report, for example "2026-11-21 07-08-49.dmp-292.json"`);
  }
  const { stall, recordError } = await readStall(path.resolve(file));
  return { stalls: [stall], unreadable: recordError ? [{ path: file, error: recordError }] : [] };
}

function describeGroup({ frames, count, ms }) {
  const lines = frames.length > 0 ? frames : ['(no function of the client is known)'];
  return [`${count} stall${count === 1 ? '' : 's'}, ${(ms / 1000).toFixed(1)} s in all`,
    ...lines.map((line) => `  ${line}`)].join('\n');
}

/** Returns { group, files }; undefined if the command has been answered already. */
function readArguments() {
  try {
    const { values, positionals: files } = parseArgs({
      options: { group: { type: 'boolean' }, help: { type: 'boolean', short: 'h' } }, allowPositionals: true });
    if (values.help) console.log(usage);
    else if (files.length > 0) return { group: values.group, files };
    else throw new TypeError('Which folder or report?');
  } catch ({ message }) {
    console.error(`${printable(message, 1000)}\n${usage}`);
    process.exitCode = 2;
  }
  return undefined;
}

async function main({ group, files }) {
  const stalls = [];
  for (const file of files) {
    const found = await read(file).catch((error) => ({ stalls: [], unreadable: [{ path: file, error }] }));
    stalls.push(...found.stalls);
    for (const { error } of found.unreadable) {
      console.error(printable(error.message, 1000));
      process.exitCode = 1;
    }
  }
  const texts = group ? groupStalls(stalls).map(describeGroup) : stalls.map(formatStall);
  if (texts.length > 0) console.log(texts.join('\n\n'));
  else console.error('There are no stalls');
}

// For example "| head" reads only the beginning.
process.stdout.on('error', ({ code }) => { if (code === 'EPIPE') process.exit(); });
const given = readArguments();
if (given) main(given);
