// A real report's trace becomes functions. Runs on the Linux side.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import test from 'node:test';
import { fileURLToPath } from 'node:url';

const here = path.dirname(fileURLToPath(import.meta.url));
const root = path.resolve(here, '..', '..');
const folder = mkdtempSync(path.join(os.tmpdir(), 'borvanta-symbols-'));
test.after(() => rmSync(folder, { recursive: true, force: true }));

const hostNode = (script, ...args) => execFileSync(process.execPath, [script, ...args], { encoding: 'utf8' });
const symbolise = (report) => hostNode(path.join(root, 'scripts', 'symbolise.mjs'), path.join(folder, report));

test('names the functions of two modules of a stalled process, and leaves other modules\' lines alone', () => {
  const { jsonFilename, captureStackResult: { stackTrace } } = JSON.parse(hostNode(
    path.join(root, 'scripts', 'windows-node.mjs'), path.join(here, 'leave_dump.js'),
    `Z:${folder.replaceAll('/', '\\')}`));
  const said = symbolise(jsonFilename);
  const functions = said.split('\n')
    .map((line) => line.match(/^stall_\S+  (.*) at (tests\/\S+):\d+$/)?.slice(1).join(' '));
  const targets = 'tests/jank/targets';
  assert.deepEqual(functions.filter((name) => name?.includes(targets)), [
    `Innermost ${targets}/stall_target.cc`,
    `StallInLibrary ${targets}/stall_library.cc`,
    `Outer ${targets}/stall_target.cc`,
    `main ${targets}/stall_target.cc`,
  ], said);
  const systemLine = stackTrace.split('\r\n').find((line) => /^(ntdll|kernelbase)/i.test(line));
  assert.ok(said.split('\n').includes(systemLine), said);
});

test('reads the debug information beside the stripped module', () => {
  const built = path.join(root, 'prebuilds', 'win32-x64', 'borvanta-util.node');
  // The exported function's place, from the file that ships.
  const headers = execFileSync('x86_64-w64-mingw32-objdump', ['-p', built], { encoding: 'utf8', maxBuffer: 1 << 28 });
  const [, index] = headers.match(/\[ *(\d+)\] GetDbgHelpFunctions$/m);
  const [, place] = headers.match(new RegExp(`\\[ *${index}\\] \\+base\\[ *\\d+\\] ([0-9a-f]+) Export RVA`));
  const trace = `borvanta-util.node!0x${place}\r\n<unknown>!0x10\r\n`;
  writeFileSync(path.join(folder, 'module.json'), JSON.stringify({ main_thread_trace: trace }));
  const [first, second] = symbolise('module.json').split('\n');
  assert.match(first, /  GetDbgHelpFunctions at src\/jank\/dbghelp_functions\.cc:\d+$/);
  assert.equal(second, '<unknown>!0x10');
});
