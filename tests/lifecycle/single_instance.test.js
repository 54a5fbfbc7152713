'use strict';
const { assert, load, scriptedSystem, startScript, test } = require('../support');

test('only one process gets the claim, and the next one gets it after that process was killed', async (t) => {
  const util = load();
  const other = startScript('print(util.createDuplicateMutex()); setInterval(() => {}, 1000);');
  t.after(other.kill);
  assert.equal(await other.next(), false);
  assert.equal(util.createDuplicateMutex('ignored'), true);
  assert.equal(util.destroyDuplicateMutex('ignored'), true);
  await other.kill();
  assert.equal(util.createDuplicateMutex(), false);
  assert.equal(util.destroyDuplicateMutex(), true);
});

test('a claim creates the mutex as its owner, and a release closes only the last handle, only once', (t) => {
  const system = scriptedSystem(t);
  const { util } = system;
  const handles = [];
  system.play('CreateMutexA', (real, ...args) => {
    assert.deepEqual(args, [null, 1, '__MUTEX_TESSARON_LIVE_EXE__']);
    handles.push(real(...args));
    // The real call's last error is lost on the way back through script.
    system.lastError = handles.length > 1 ? 183 : 0;
    return handles.at(-1);
  });
  system.watch('CloseHandle');
  assert.equal(util.destroyDuplicateMutex(), true, 'before any claim');
  assert.equal(util.createDuplicateMutex(), false);
  assert.equal(util.createDuplicateMutex(), true, 'this process holds it already');
  assert.deepEqual(system.calls, [], 'no handle is closed by a claim');
  assert.equal(util.destroyDuplicateMutex(), true);
  assert.equal(util.destroyDuplicateMutex(), true);
  assert.deepEqual(system.calls, [['CloseHandle', handles[1]]]);
  assert.equal(load().createDuplicateMutex(), true, 'the first handle stays open');
  load().destroyDuplicateMutex();
});

test('a claim that fails means another instance only if access is denied', (t) => {
  const system = scriptedSystem(t);
  for (const [error, answer] of [[5, true], [6, false], [8, false], [161, false]]) {
    system.fail('CreateMutexA', { error });
    assert.equal(system.util.createDuplicateMutex(), answer, `last error ${error}`);
  }
  assert.equal(system.util.destroyDuplicateMutex(), true);
});
