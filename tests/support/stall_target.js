'use strict';
// Real stalled processes for script tests.
const { spawn } = require('node:child_process');
const path = require('node:path');
const { buildFolder } = require('./windows.js');

const program = path.join(buildFolder, 'targets', 'stall_target.exe');

/** Starts a process that stalls as `args` say; resolves when it has. The caller kills `child`. */
exports.startStallTarget = (...args) => new Promise((resolve, reject) => {
  const child = spawn(program, args, { stdio: ['ignore', 'pipe', 'ignore'] });
  let said = '';
  child.on('error', reject);
  child.on('exit', () => reject(new Error('ended before it was ready')));
  child.stdout.on('data', (chunk) => {
    said += chunk;
    const ready = said.match(/^ready (\d+) (\d+) (\d+)/m);
    if (ready) resolve({ child, processId: +ready[1], threadId: +ready[2], otherThreadId: +ready[3] });
  });
});

/** Arguments for captureNativeJank that pass every check. */
exports.captureArgs = (overrides) => ({
  processId: 0, threadId: 0, jankType: 'main', janksDir: 'Q:\\直播 \ud800', userId: 'u', deviceId: 'd', version: '5.1',
  systemVersion: '10', logFilename: 'x.log', living: false, uptime: 0.1 + 0.2, duration: 1500, ...overrides,
});
