'use strict';
// Starts a process that stalls on purpose, captures it, and shows the report.
const fs = require('node:fs');
const path = require('node:path');
const { captureNativeJank } = require('borvanta-util/promises');
const { startProgram } = require('./start_program.js');

/** Starts a test program that stalls. Resolves to its child process and the ids that it prints. */
function startStalledProcess() {
  const build = path.join(__dirname, '..', '..', 'build');
  const program = ['mingw', 'msvc'].map((preset) => path.join(build, preset, 'targets', 'stall_target.exe'))
    .find((file) => fs.existsSync(file));
  if (!program) throw new Error('stall_target.exe is not built: "npm run build" does that');
  return startProgram(program);
}

exports.tour = async function tour(util, print) {
  const { child, value: { processId, threadId } } = await startStalledProcess();
  // Kept until the next tour, so that the user can run the command that is printed last.
  const folder = path.join(__dirname, '..', '..', 'build', 'tour');
  fs.rmSync(folder, { recursive: true, force: true });
  fs.mkdirSync(folder, { recursive: true });
  try {
    print(`Process ${processId} stalls on purpose in thread ${threadId}; capturing it.`);
    const result = await captureNativeJank({
      processId, threadId, jankType: 'tour', janksDir: `${folder}\\`, userId: 'nobody', deviceId: 'this machine',
      version: '5.165.3.4096', systemVersion: util.getOsVersionWithReleaseId(), logFilename: 'tour.log', living: false,
      uptime: process.uptime(), duration: 1500,
    });
    if (result.errorText) print(`The capture reports an error: ${result.errorText}`);
    const report = result.jsonFilename && JSON.parse(fs.readFileSync(path.join(folder, result.jsonFilename), 'utf8'));
    if (!report) return;
    print(`Report ${result.jsonFilename}:`);
    for (const [name, value] of Object.entries(report)) {
      if (name !== 'main_thread_trace') print(`  ${name.padEnd(15)} ${value}`);
    }
    print('Stack, innermost frame first:');
    for (const line of report.main_thread_trace.trim().split('\r\n')) print(`  ${line}`);
    if (result.dumpJankResult.succ) {
      print(`Dump ${report.dmp_file}: ${Math.ceil(fs.statSync(path.join(folder, report.dmp_file)).size / 1024)} KiB`);
    }
    fs.copyFileSync(path.join(folder, result.jsonFilename), path.join(folder, 'report.json'));
    print('To see function names: npm run --silent symbolise -- build/tour/report.json');
  } finally {
    child.kill();
  }
};
