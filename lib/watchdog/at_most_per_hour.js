'use strict';

const hourMs = 3_600_000;

/** Makes a function that returns true at most `count` times in any hour, else false. */
exports.atMostPerHour = (count) => {
  const times = [];
  return () => {
    const now = performance.now();
    while (times[0] <= now - hourMs) times.shift();
    if (times.length >= count) return false;
    times.push(now);
    return true;
  };
};
