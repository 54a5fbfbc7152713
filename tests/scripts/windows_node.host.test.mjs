// What `npm run windows-node` promises to those who run it. This test runs where the command runs, not in Wine.
import assert from 'node:assert/strict';
import { spawn, spawnSync } from 'node:child_process';
import { once } from 'node:events';
import { existsSync, mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import test from 'node:test';
import { fileURLToPath } from 'node:url';

const command = fileURLToPath(new URL('../../scripts/windows-node.mjs', import.meta.url));
const folder = mkdtempSync(path.join(os.tmpdir(), 'borvanta 直播 '));
test.after(() => rmSync(folder, { recursive: true }));

/** The script's own folder, as npm gives it, and the locale of a bare machine. */
const env = { ...process.env, INIT_CWD: folder, LC_ALL: 'C' };
const write = (source) => writeFileSync(path.join(folder, 'a script.js'), source);
const run = (...args) => spawnSync(process.execPath, [command, ...args], { encoding: 'utf8', env });

test('hands on arguments, prints into pipes what the script prints, and ends with its exit code', () => {
  const args = ['two words', 'прямой 直播 😀', '', '"quoted"', 'C:\\dir\\', '--option', '*'];
  write(`process.stdout.write('x'.repeat(1e6)); console.log(JSON.stringify(process.argv.slice(2)));
    console.error('to stderr'); process.exitCode = 42;`);
  const { stdout, stderr, status } = run('--node=18', 'a script.js', ...args);
  assert.equal(stdout, `${'x'.repeat(1e6)}${JSON.stringify(args)}\n`);
  assert.match(stderr, /^to stderr\r?\n$/m);
  assert.equal(status, 42);
  assert.match(run('--node=17', 'a script.js').stderr, /^Usage:/);
});

for (const [when, stop] of [['nobody reads on', ({ stdout }) => stdout.destroy()],
  ['it is ended', (child) => child.kill()]]) {
  test(`ends the script when ${when}`, async () => {
    write('setInterval(() => { console.log(1); require("fs").appendFileSync("beats", "1"); }, 10);');
    const child = spawn(process.execPath, [command, 'a script.js'], { env, stdio: ['ignore', 'pipe', 'inherit'] });
    await once(child.stdout, 'data');
    stop(child);
    await once(child, 'close');
    rmSync(path.join(folder, 'beats'));
    await new Promise((resolve) => { setTimeout(resolve, 300); });
    assert.equal(existsSync(path.join(folder, 'beats')), false, 'it does not write it again');
  });
}
