'use strict';
// Measures the two sides of a comparison by turns, so that other load on the machine affects both.

const quantile = (sorted, part) => {
  const place = (sorted.length - 1) * part;
  const low = Math.floor(place);
  const high = Math.ceil(place);
  return sorted[low] + (sorted[high] - sorted[low]) * (place - low);
};

/** Median and quartiles. */
const summary = (values) => {
  const sorted = [...values].sort((a, b) => a - b);
  return { median: quantile(sorted, 0.5), lower: quantile(sorted, 0.25), upper: quantile(sorted, 0.75) };
};

/**
 * Runs both sides `rounds` times, after one round that does not count. The side that runs first changes in each round.
 * A side is a function, asynchronous or not, that gets the number of the round and returns the time that it took, in
 * nanoseconds. `ratio` summarises the time of `module` divided by that of `bare` in the same round.
 */
exports.compare = async ({ module, bare, rounds }) => {
  const taken = { module: [], bare: [] };
  for (let round = -1; round < rounds; round += 1) {
    for (const side of round % 2 ? ['bare', 'module'] : ['module', 'bare']) {
      const nanoseconds = await (side === 'module' ? module : bare)(round);
      if (!(nanoseconds > 0)) throw new Error(`The ${side} side failed in round ${round}`);
      if (round >= 0) taken[side].push(nanoseconds);
    }
  }
  return {
    rounds,
    module: summary(taken.module),
    bare: summary(taken.bare),
    ratio: summary(taken.module.map((value, index) => value / taken.bare[index])),
  };
};

/** The time that `work` takes, in nanoseconds. */
exports.time = (work) => {
  const start = process.hrtime.bigint();
  work();
  return Number(process.hrtime.bigint() - start);
};

/**
 * A side that calls `call` `count` times and gives the time of one call. Each side gets a separate loop, so that the
 * engine optimises both alike.
 */
exports.calls = (call, count) => {
  const loop = new Function('call', 'count', 'for (let index = 0; index < count; index += 1) call();');
  return () => exports.time(() => loop(call, count)) / count;
};

/**
 * A side that starts `count` calls at once and waits for all their callbacks, `turns` times. It gives the time of one
 * call.
 */
exports.callbacks = (start, count, turns) => () => new Promise((resolve) => {
  const begin = process.hrtime.bigint();
  let turn = 0;
  let open = 0;
  const next = () => {
    open -= 1;
    if (open > 0) return;
    turn += 1;
    if (turn > turns) {
      resolve(Number(process.hrtime.bigint() - begin) / (count * turns));
      return;
    }
    open = count;
    for (let index = 0; index < count; index += 1) start(next);
  };
  open = 1;
  next();
});
