'use strict';
// The script of the stack worker: a thread of the client that reads the script stack of the main thread when the
// watcher asks for it. It waits at a named pipe, because a pipe of its own reaches the watcher while the main thread
// stands still: the channel of child_process.fork belongs to the main thread.
//
// The watcher sends the number of the last heartbeat that it got. The worker answers with a space when the main thread
// begins to answer, then with { scriptFrames }, { isDebugged } or null as a line of JSON. The watcher then closes the
// connection. If it does so before that, or sends more, nothing is read any more, and the answer is null.

const net = require('node:net');
const { parentPort, workerData } = require('node:worker_threads');
const { readScriptStack } = require('./read_script_stack.js');

/** @type {{ pipe: string, beats: Int32Array }} */
const { pipe, beats } = workerData;

function serve(socket) {
  socket.on('error', () => {});
  socket.once('data', async (data) => {
    const lastBeat = Number(data);
    const hasTurned = () => Atomics.load(beats, 0) !== lastBeat;
    let read = null;
    if (!hasTurned()) {
      const { stack, cancel } = readScriptStack({ hasTurned, onAnswer: () => socket.write(' ') });
      socket.once('data', cancel);
      socket.once('close', cancel);
      read = await stack;
    }
    socket.write(`${JSON.stringify(read)}\n`);
  });
}

net.createServer(serve).listen(pipe, () => parentPort.postMessage('listening'));
