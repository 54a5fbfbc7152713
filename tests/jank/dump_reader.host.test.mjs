// An independent reader, lldb, agrees with what the module says of a dump. Runs on the Linux side.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { mkdtempSync, readdirSync, rmSync } from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import test from 'node:test';
import { fileURLToPath } from 'node:url';

const here = path.dirname(fileURLToPath(import.meta.url));
const root = path.resolve(here, '..', '..');

test('lldb opens the dump, lists the target\'s threads and modules, and names the stalled thread', () => {
  const folder = mkdtempSync(path.join(os.tmpdir(), 'borvanta-dump-'));
  try {
    const windowsFolder = `Z:${folder.replaceAll('/', '\\')}`;
    const captured = JSON.parse(execFileSync(process.execPath,
      [path.join(root, 'scripts', 'windows-node.mjs'), path.join(here, 'leave_dump.js'), windowsFolder],
      { encoding: 'utf8' }));
    assert.equal(captured.dumpJankResult.succ, true);
    const dump = readdirSync(folder).find((name) => name.endsWith('.dmp'));
    const said = execFileSync('lldb-14', ['-b', '-o', `target create --core "${path.join(folder, dump)}"`,
      '-o', 'thread list', '-o', 'image list'], { encoding: 'utf8', stdio: ['ignore', 'pipe', 'ignore'] });
    const hex = (number) => `tid = 0x${number.toString(16).padStart(4, '0')}`;
    const stopped = said.split('\n').find((line) => line.trim().startsWith('*'));
    assert.ok(stopped?.includes(hex(captured.threadId)), said);
    assert.ok(said.includes(hex(captured.otherThreadId)), said);
    for (const module of ['stall_target.exe', 'stall_library.dll', 'ntdll.dll']) assert.ok(said.includes(module), said);
    assert.ok(!said.includes('node.exe'), 'the modules are the target\'s, not the capturing process\'s');
  } finally {
    rmSync(folder, { recursive: true, force: true });
  }
});
