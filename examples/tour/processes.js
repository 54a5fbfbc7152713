'use strict';
const { enumProcessList } = require('borvanta-util/promises');

/** Lists the running processes, but at most forty. */
exports.tour = async (_util, print) => {
  const longest = 40;
  const { list } = await enumProcessList();
  if (list.length === 0) {
    print('Windows gives no list of processes.');
    return;
  }
  print(`${list.length} processes run, in the order in which Windows lists them:`);
  for (const { pid, name } of list.slice(0, longest)) {
    print(`${String(pid).padStart(8)}  ${name || '(no name)'}${pid === process.pid ? '  <- this one' : ''}`);
  }
  if (list.length > longest) print(`          ... and ${list.length - longest} more`);
  if (!list.some(({ pid }) => pid === 0)) {
    print('There is no idle process: Wine has none. On Windows it is process 0, the first of the list.');
  }
};
