'use strict';
// Lets the event loop of this process stand still, and shows the watchdog's report.
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { formatStall, watchForJank } = require('borvanta-util/watchdog');

const longestMs = 30_000;

/** Blocks the event loop until there is a report, and returns how many seconds that took. */
function standStill(folder) {
  const start = Date.now();
  const isReported = () => fs.readdirSync(folder).some((file) => file.endsWith('.json'));
  while (!isReported() && Date.now() < start + longestMs);
  return (Date.now() - start) / 1000;
}

exports.tour = async function tour(util, print) {
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'borvanta-tour-'));
  const alive = setInterval(() => {}, 1000);
  let watch;
  try {
    const caught = new Promise((onJank, onError) => {
      watch = watchForJank({ janksDir: folder, onJank, onError, thresholdMs: 500, living: () => false });
    });
    await Promise.race([watch.ready, caught]);
    print(`Process ${watch.pid} watches this one. The event loop of this one now stands still.`);
    const seconds = standStill(folder);
    print(`It turns again after ${seconds.toFixed(1)} seconds.`);
    print('The stall in words:');
    for (const line of formatStall(await caught).split('\n')) print(`  ${line}`);
  } finally {
    await watch?.stop();
    clearInterval(alive);
    fs.rmSync(folder, { recursive: true, force: true, maxRetries: 5 });
  }
};
