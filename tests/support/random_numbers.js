'use strict';

/** A function random(end), which gives whole numbers below `end`: the same ones in the same order for the same seed. */
exports.randomNumbers = (seed) => {
  let state = seed >>> 0;
  return (end) => {
    state = (state + 0x6D2B79F5) >>> 0;
    let bits = Math.imul(state ^ (state >>> 15), state | 1);
    bits ^= bits + Math.imul(bits ^ (bits >>> 7), bits | 61);
    return ((bits ^ (bits >>> 14)) >>> 0) % end;
  };
};
