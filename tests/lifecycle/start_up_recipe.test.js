'use strict';
// Runs the recipe of docs/start-up.md, as it stands there, in real processes.
const {
  assert, fs, modulePath, path, RegistryKey, startScript, windows, temporaryFolder, test, until,
} = require('../support');

const page = fs.readFileSync(path.join(__dirname, '..', '..', 'docs', 'start-up.md'), 'utf8');
const [, recipe] = /^```js\r?\n(.*?)^```/ms.exec(page);
const openKey = windows('advapi32', 'int RegOpenKeyExW(size_t, str16, uint32, uint32, _Out_ size_t*)');
const setKeySecurity = windows('advapi32', 'int RegSetKeySecurity(size_t, uint32, void*)');
const readDescriptor = windows('advapi32',
  'int ConvertStringSecurityDescriptorToSecurityDescriptorW(str16, uint32, _Out_ void**, void*)');

const client = new RegistryKey('SOFTWARE\\Borvanta', 32);
const mark = 'esn5.165.3.4096';
const marks = new RegistryKey('SOFTWARE\\Borvanta\\mark', 32);
test.beforeEach(() => client.remove());
test.after(() => client.remove());

/**
 * Starts the recipe. `body` is the end of its startUp(). `env` is for this process and for the last version, which it
 * watches for some `seconds`.
 */
function start(t, body = '', env = {}, seconds = 30) {
  const parts = [[/console\.log\(safeMode.*?\);/, `print({ safeMode }); ${body}`], ['10_000', `${seconds}_000`]];
  const text = parts.reduce((before, [part, other]) => {
    const after = before.replace(part, () => other);
    assert.notEqual(after, before, `${part} is in the recipe`);
    return after;
  }, recipe);
  const process = startScript(`Object.assign(process.env, ${JSON.stringify(env)}); ${text}`);
  t.after(process.kill);
  return process;
}

async function crash(t) {
  const process = start(t, 'await sleep(100_000);');
  assert.deepEqual(await process.next(), { safeMode: false });
  await process.kill();
}

/** Makes a last version that runs `script`, and returns its environment. */
function makeLastVersion(t, script) {
  const folder = temporaryFolder(t);
  const [executable, file] = ['borvanta.exe', 'last_version.js'].map((name) => path.join(folder, name));
  fs.copyFileSync(process.execPath, executable);
  fs.writeFileSync(file, `if (process.env.CLIENT_FALLBACK) { ${script} }`);
  client.set('LatestBootableVersion', executable);
  return { NODE_OPTIONS: `--require ${JSON.stringify(file)}` };
}

const quits = (process) => assert.rejects(process.next(), / 0,$/);

async function runsInSafeMode(process, message) {
  assert.deepEqual(await process.next(), { safeMode: true }, message);
  await until(() => !marks.get(mark));
  await process.kill();
}

test('a second instance quits and leaves no mark', async (t) => {
  const first = start(t, 'setInterval(() => {}, 1000);');
  await first.next();
  await until(() => !marks.get(mark));
  await quits(start(t));
  assert.equal(marks.get(mark), undefined);
});

test('after a crash the last version runs, or this one in safe mode', async (t) => {
  await crash(t);
  client.set('LatestBootableVersion', path.join(temporaryFolder(t), 'borvanta.exe'));
  await runsInSafeMode(start(t), 'its file is gone');

  await crash(t);
  const ends = makeLastVersion(t, 'process.exit(7);');
  await runsInSafeMode(start(t, '', ends), 'it crashes at once');

  await crash(t);
  const seen = path.join(temporaryFolder(t), 'seen.json');
  const works = makeLastVersion(t, `const runs = require(${JSON.stringify(modulePath)}).createDuplicateMutex();
    require('fs').writeFileSync(${JSON.stringify(seen)}, JSON.stringify({ runs, pid: process.pid }));
    setInterval(() => {}, 1000);`);
  await quits(start(t, '', works, 1));
  await until(() => fs.existsSync(seen) && fs.statSync(seen).size > 0);
  const { runs, pid } = JSON.parse(fs.readFileSync(seen));
  assert.equal(runs, false, 'the mutex is free');
  await quits(start(t, '', works));
  process.kill(pid);
  await runsInSafeMode(start(t, '', { ...works, CLIENT_FALLBACK: '1' }), 'a fallback starts no other version');
});

test('a start-up that may not write its mark runs, also after a crash', async (t) => {
  marks.set('other', '');
  const key = [0];
  // KEY_ALL_ACCESS | KEY_WOW64_32KEY: this handle keeps its rights.
  openKey(0x80000002, marks.path, 0, 0xF023F, key);
  const allowEveryone = (rights) => {
    const descriptor = [null];
    readDescriptor(`D:P(A;;${rights};;;WD)`, 1, descriptor, null);
    setKeySecurity(key[0], 4 /* DACL_SECURITY_INFORMATION */, descriptor[0]);
  };
  allowEveryone('KR');
  t.after(() => allowEveryone('KA'));
  await crash(t);
  await crash(t);
  assert.equal(marks.get(mark), undefined);
});
