'use strict';
const { execFile } = require('node:child_process');
const { formatStall, readStalls, removeStall } = require('borvanta-util/watchdog');
const { assert, fs, path, temporaryFolder, test } = require('../support');

/** Makes a folder of captures and foreign files. `write(name, values)` writes JSON, or a text as it is. */
function makeFolder(t) {
  const folder = temporaryFolder(t);
  const write = (name, values) => fs.writeFileSync(path.join(folder, name),
    typeof values === 'string' ? values : JSON.stringify(values));
  const report = (dump, id, values) => write(`${dump}.dmp-${id}.json`, { device_id: '', dmp_file: `${dump}.dmp`,
    duration: 600, jank_type: '', living: true, log_file: '', system_version: '', uptime: 1, user_id: '', version: '1',
    main_thread_trace: 'ntdll.dll!0x1\r\nthird.dll!0x2\r\n', ...values });
  const record = (dump, id, values) => write(`${dump}.dmp-${id}.stall`, {
    uptime: 1, functions: [null, 'Wait'], since: '2026-11-20T01:00:00.000Z', stallMs: 900, frozenAfterMs: 800,
    late: true, scriptFrames: [], scriptFramesLate: false, ...values });
  for (const name of ['settings.json', 'old.dmp', '2026-11-22 00-00-00.dmp']) write(name, 'foreign');
  return { folder, write, report, record, files: () => fs.readdirSync(folder) };
}

const [first, second, third] = ['2026-11-21 01-00-00', '2026-11-21 02-00-00', '2026-11-21 03-00-00'];
const reasons = (unreadable) => unreadable.map(({ path: file, error }) => [path.basename(file), error.code]);

test('readStalls finds the stalls, oldest first, and says which files it cannot use; removeStall keeps a shared dump',
  async (t) => {
    const { folder, write, report, record, files } = makeFolder(t);
    for (const [dump, id] of [[first, 1], [first, 2], [third, 3]]) report(dump, id);
    write(`${first}.dmp`, 'dump');
    const frame = { function: 'f', url: 'file:///a.js', line: 1, column: 2 };
    record(third, 3, { scriptFrames: [frame], scriptFramesLate: true });
    record(first, 2, { uptime: 2 });
    report(second, 4, { dmp_file: '..\\x.dmp' });
    write(`${second}.dmp-5.json`, '{');
    record(third, 9);
    const all = files();
    const { stalls, unreadable } = await readStalls(folder);
    assert.deepEqual(stalls.map(({ reportPath }) => path.basename(reportPath)),
      [`${third}.dmp-3.json`, `${first}.dmp-1.json`, `${first}.dmp-2.json`]);
    const { report: read, reportPath, dumpPath, ...known } = stalls[0];
    assert.deepEqual(known, { since: '2026-11-20T01:00:00.000Z', stallMs: 900, frozenAfterMs: 800, late: true,
      scriptFrames: [frame],
      scriptFramesLate: true });
    assert.equal(read.frames[1].function, 'Wait');
    assert.deepEqual([stalls[2].frozenAfterMs, stalls[2].late, stalls[2].scriptFrames], [600, false, []]);
    assert.deepEqual(reasons(unreadable), [[`${first}.dmp-2.stall`, 'ERR_INVALID_RECORD'],
      [`${second}.dmp-4.json`, 'ERR_INVALID_REPORT'], [`${second}.dmp-5.json`, 'ERR_INVALID_REPORT'],
      [`${third}.dmp-9.stall`, 'ERR_NO_REPORT'], ['2026-11-22 00-00-00.dmp', 'ERR_NO_REPORT']]);

    write(`${first}.dmp-2.stall.7.tmp`, 'unfinished');
    await removeStall(stalls[2]);
    assert.deepEqual(files(), all.filter((name) => !name.startsWith(`${first}.dmp-2`)));
    for (const stall of stalls) await removeStall(stall);
    assert.deepEqual(files(), all.filter((name) => !/^2026-11-21 (01|.*dmp-3)/.test(name)));
    const foreign = { reportPath: path.join(folder, 'settings.json') };
    await assert.rejects(removeStall(foreign), { code: 'ERR_INVALID_ARG_VALUE' });
    assert.deepEqual(await readStalls(path.join(folder, 'missing')), { stalls: [], unreadable: [] });
  });

const runCommand = (...args) => new Promise((resolve) => {
  execFile(process.execPath, [require.resolve('../../lib/cli.js'), ...args],
    (error, stdout, stderr) => resolve({ code: error?.code ?? 0, stdout, stderr }));
});

test('a stall in words has some ten lines, and no character that a terminal obeys', async (t) => {
  const { folder, report, record } = makeFolder(t);
  report(first, 1, { version: '\x1b]0;x\x07\u202e\n\u{e0001}', main_thread_trace: 'evil\x1b.dll!0x1\r\n'.repeat(50) });
  record(first, 1, { functions: Array(50).fill('\x9b2J'),
    scriptFrames: Array(50).fill({ function: '\u2066', url: '\r\x1b[2J', line: 1, column: 1 }) });
  const text = formatStall((await readStalls(folder)).stalls[0]);
  assert.match(text, /^[\n -~]+$/);
  assert.ok(text.split('\n').length < 16 && text.includes('0.9 s') && text.includes('\\u{202e}'), text);
  const reportPath = path.join(folder, `${first}.dmp-1.json`);
  assert.deepEqual(await runCommand(reportPath), { code: 0, stdout: `${text}\n`, stderr: '' });
});

test('the command groups stalls by script, else by modules of the client, and tells what it cannot read', async (t) => {
  const { folder, report, record } = makeFolder(t);
  const own = (line) => ({ scriptFrames: [{ function: 'read', url: 'node:fs', line: 1, column: 1 },
    { function: 'load', url: 'file:///C:/one/main.js', line, column: 1 }] });
  [own(1), own(2), { late: false }, { stallMs: 5000 }].forEach((values, index) => {
    report(first, index);
    record(first, index, values);
  });
  const { code, stdout, stderr } = await runCommand(folder, '--group');
  assert.deepEqual([code, stderr], [1, '2026-11-22 00-00-00.dmp has no report\n']);
  assert.deepEqual(stdout.trim().split('\n\n'), ['1 stall, 5.0 s in all\n  (no function of the client is known)',
    '2 stalls, 1.8 s in all\n  load (main.js)', '1 stall, 0.9 s in all\n  third.dll!Wait']);
  assert.equal((await runCommand('--grup', folder)).code, 2);
});
