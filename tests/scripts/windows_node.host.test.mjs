// What `npm run windows-node` promises to those who run it. This test runs where the command runs, not in Wine.
import assert from 'node:assert/strict';
import { spawn, spawnSync } from 'node:child_process';
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import test from 'node:test';
import { setTimeout } from 'node:timers/promises';
import { fileURLToPath } from 'node:url';

const command = fileURLToPath(new URL('../../scripts/windows-node.mjs', import.meta.url));
const folder = mkdtempSync(path.join(os.tmpdir(), 'borvanta 直播 '));
test.after(() => rmSync(folder, { recursive: true }));

/** Runs a script from its own folder, as npm does, in the locale of a bare machine. */
const options = { encoding: 'utf8', env: { ...process.env, INIT_CWD: folder, LC_ALL: 'C' } };

function run(source, ...args) {
  writeFileSync(path.join(folder, 'a script.js'), source);
  return spawnSync(process.execPath, [command, 'a script.js', ...args], options);
}

test('prints into pipes what the script prints, and ends with its exit code', () => {
  const { stdout, stderr, status } = run(`
    process.stdout.write('x'.repeat(1e6)); console.log(process.platform); console.error('to stderr'); process.exitCode = 42;`);
  assert.equal(stdout.length, 1e6 + 'win32\n'.length);
  assert.ok(stdout.endsWith('xwin32\n'));
  assert.match(stderr, /^to stderr\r?\n$/m);
  assert.equal(status, 42);
  assert.notEqual(run('process.exit(256)').status, 0, 'although the low eight bits are 0');
});

test('hands on arguments as they are', () => {
  const args = ['two words', 'прямой 直播 😀', '', '"quoted"', 'C:\\dir\\', '--option', '*'];
  assert.deepEqual(JSON.parse(run('console.log(JSON.stringify(process.argv.slice(2)))', ...args).stdout), args);
});

test('ends the script when nobody reads on, and when it is itself ended', async () => {
  const beat = path.join(folder, 'beat');
  writeFileSync(path.join(folder, 'endless.js'), `let count = 0;
    setInterval(() => { console.log(++count); require('fs').writeFileSync('beat', String(count)); }, 10);`);
  for (const stop of [(child) => child.stdout.destroy(), (child) => child.kill()]) {
    const child = spawn(process.execPath, [command, 'endless.js'], { ...options, stdio: ['ignore', 'pipe', 'pipe'] });
    let complaints = '';
    child.stderr.on('data', (chunk) => { complaints += chunk; });
    await new Promise((resolve) => { child.stdout.once('data', resolve); });
    const ended = new Promise((resolve) => { child.on('close', resolve); });
    stop(child);
    await ended;
    assert.equal(complaints, '');
    const last = readFileSync(beat, 'utf8');
    await setTimeout(300);
    assert.equal(readFileSync(beat, 'utf8'), last);
  }
});
