'use strict';
const { spawnSync } = require('node:child_process');
const { assert, captureArgs, fs, path, temporaryFolder, test } = require('../support');

const root = path.join(__dirname, '..', '..');

test('a package copy without its module file throws, or uses the file of a copy that was loaded before', (t) => {
  const folder = temporaryFolder(t);
  for (const part of ['lib', 'package.json']) fs.cpSync(`${root}/${part}`, `${folder}/${part}`, { recursive: true });
  const copy = path.join(folder, 'lib', 'index.js');
  assert.throws(() => require(copy), (error) => error.message.includes(folder) && error.cause.code === error.code);
  assert.equal(require('borvanta-util'), require(copy));
  fs.rmSync(path.join(folder, 'lib', 'watchdog', 'watcher.js'));
  assert.throws(() => require(`${folder}/lib/watchdog.js`).watchForJank({}), /watcher\.js is missing.*bundling\.md/);
  const { stderr } = spawnSync(process.execPath, ['--no-addons', `${root}/lib/index.js`]);
  assert.match(`${stderr}`, /--allow-addons/);
});

test('each function is described, can be imported by name, and has a promise form if it has a callback', async () => {
  const described = (file, rest = '') => [...fs.readFileSync(path.join(root, 'lib', file), 'utf8')
    .matchAll(new RegExp(`\\*/\\r?\\nexport function (\\w+)\\(${rest}`, 'g'))].map(([, name]) => name).sort();
  for (const [name, file] of [['borvanta-util', 'index.d.ts'], ['borvanta-util/promises', 'promises.d.ts']]) {
    const { default: functions, ...named } = await import(name);
    assert.deepEqual(described(file), Object.keys(functions).sort());
    for (const [key, value] of Object.entries(functions)) assert.equal(named[key], value, key);
  }
  assert.deepEqual(described('promises.d.ts'), described('index.d.ts', '[^;]*callback:'));
});

test('a promise form passes its arguments on, and rejects with an error that names a bad argument', async (t) => {
  const promises = require('borvanta-util/promises');
  const good = { captureNativeJank: [captureArgs()], getGpuUsage: [1, 2], enumProcessList: [] };
  for (const [name, args] of Object.entries(good)) {
    t.mock.method(require('borvanta-util'), name, (...given) => given.pop()(given));
    assert.deepEqual(await promises[name](...args, 'too many'), args, name);
  }
  const refuses = (promise, message) => assert.rejects(promise, { message, code: 'ERR_INVALID_ARG_TYPE' });
  for (const [name, value] of Object.entries(captureArgs())) {
    await refuses(promises.captureNativeJank({ ...captureArgs(), [name]: 5n }),
      `The "args.${name}" property must be of type ${typeof value}. Received type bigint (5n)`);
  }
  await refuses(promises.captureNativeJank(null), 'The "args" argument must be of type object. Received null');
  await refuses(promises.getGpuUsage(), 'The "nativePid" argument must be of type number. Received undefined');
});
