'use strict';
// Starts a watchdog that watches the test's own process.
const { enumProcessList } = require('borvanta-util/promises');
const { watchForJank } = require('borvanta-util/watchdog');
const { fs, path, temporaryFolder, test } = require('../support');

exports.isRunning = async (id) => (await enumProcessList()).list.some(({ pid }) => pid === id);

/** Starts a watchdog, which is stopped after the test `t`. `janks` and `errors` collect what its callbacks get. */
exports.watchThisProcess = (t, options) => {
  const janksDir = path.join(temporaryFolder(test), 'janks');
  const [janks, errors] = [[], []];
  const watch = watchForJank({ janksDir, onJank: (jank) => janks.push(jank), onError: (error) => errors.push(error),
    ...options });
  t.after(() => watch.stop());
  return { watch, janks, errors, janksDir, files: () => fs.readdirSync(janksDir) };
};
