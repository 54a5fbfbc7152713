'use strict';
// A short tour of the module, for a person to read: npm start
const util = require('..');

/** The stops in their order; each is a file of tour/ with a function `tour(util, print)`. */
const stops = [
  ['identity', 'This machine'],
  ['lifecycle', 'Instances, start-ups and old versions'],
  ['processes', 'Running processes'],
  ['gpu_usage', 'Graphics processor'],
  ['jank', 'A stalled thread, captured'],
  ['watchdog', 'A stalled event loop, noticed and captured by the watchdog'],
];

const print = (line = '') => console.log(line && `  ${line}`);

// The stop that the tour has reached, until its end.
let reached = 'the start';

async function main() {
  console.log(`borvanta-util in Node.js ${process.version} for Windows`);
  for (const [name, title] of stops) {
    reached = title;
    console.log(`\n${title}`);
    await require(`./tour/${name}.js`).tour(util, print);
  }
  reached = undefined;
}

// Also if this process ends because nothing keeps the event loop alive.
process.on('exit', () => {
  if (!reached) return;
  console.error(`\nThe tour ended before its last stop, at: ${reached}`);
  process.exitCode ||= 1;
});
main();
