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

async function main() {
  console.log(`borvanta-util in Node.js ${process.version} for Windows`);
  for (const [name, title] of stops) {
    console.log(`\n${title}`);
    await require(`./tour/${name}.js`).tour(util, print);
  }
}

main();
