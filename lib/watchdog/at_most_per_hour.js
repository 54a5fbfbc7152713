'use strict';

const hourMs = 3_600_000;

/**
 * Makes a function that returns true at most `count` times in any hour, else false. `agesMs` tells how long ago it has
 * returned true already, the oldest first.
 */
exports.atMostPerHour = (count, agesMs = []) => {
  const times = agesMs.map((ageMs) => performance.now() - ageMs);
  return () => {
    const now = performance.now();
    while (times[0] <= now - hourMs) times.shift();
    if (times.length >= count) return false;
    times.push(now);
    return true;
  };
};
