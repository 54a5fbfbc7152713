'use strict';
const { getGpuUsage } = require('borvanta-util/promises');

const kinds = [['3D', '3d'], ['encode', 'Enc'], ['decode', 'Dec'], ['codec', 'Cod']];

/** A bar and the number. The sum of several engines can exceed 100: the bar then ends at 100, the number does not. */
function bar(percent) {
  const width = 10;
  const full = Math.max(0, Math.min(width, Math.round((percent / 100) * width)));
  return `[${'#'.repeat(full)}${'.'.repeat(width - full)}] ${percent.toFixed(1).padStart(5)} %`;
}

/** One line with a bar for each engine kind that a process uses. */
function describe(usage) {
  return kinds.filter(([, key]) => usage[`has${key}`])
    .map(([label, key]) => `${label} ${bar(usage[`sys${key}`] ?? 0)}`).join('  ');
}

/** GPU usage of the whole system, sampled twice a second for three seconds. */
exports.tour = async (util, print) => {
  print('GPU engines, all processes, twice a second for three seconds:');
  util.initGpuUsage();
  let any = false;
  for (let sample = 1; sample <= 6; ++sample) {
    await new Promise((resolve) => { setTimeout(resolve, 500); });
    const usage = await getGpuUsage(process.pid, process.pid);
    const line = describe(usage);
    if (line) print(`  ${(sample / 2).toFixed(1)} s  ${line}`);
    any ||= line !== '';
  }
  if (!any) print('  This machine has no GPU counters.');
};
