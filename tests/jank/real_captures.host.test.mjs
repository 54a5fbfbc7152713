// Tests what lldb and symbolise find in the dumps and reports of real stalls. Runs in the build machine's Node.js.
import assert from 'node:assert/strict';
import { readdirSync } from 'node:fs';
import test from 'node:test';
import { folder, onWindows, run, runScript } from '../support/host.mjs';

const symbolise = (report) => runScript('symbolise.mjs', report).split('\n');
const [chain, deep] = JSON.parse(onWindows(`(async () => {
  const { call, captureArgs, load, startStallTarget } = support;
  const captured = [];
  for (const [depth, name] of [[1, 'chain'], [500, 'deep']]) {
    const { kill, ...target } = await startStallTarget(depth);
    const args = captureArgs({ ...target, janksDir: process.cwd() + '\\\\' + name + ' ' });
    captured.push({ ...target, ...await call(load().captureNativeJank, args) });
    await kill();
  }
  console.log(JSON.stringify(captured));
})();`));
const dumpOf = (report) => report.replace(/-\d+\.json$/, '');

test('a capture leaves a dump and a report, and the stack trace of a deep stack has every frame', () => {
  for (const { errorText, dumpJankResult } of [chain, deep]) assert.ok(!errorText && dumpJankResult.succ);
  const reports = [`chain ${chain.jsonFilename}`, `deep ${deep.jsonFilename}`];
  assert.deepEqual(readdirSync(folder).sort(), reports.flatMap((report) => [dumpOf(report), report]));
  const lines = deep.captureStackResult.stackTrace.split('\r\n');
  assert.equal(lines.filter((line, index) => line === lines[index - 1]).length, 498, '499 calls at the same place');
});

test('lldb finds the stalled thread, the other thread and the modules in the dump', () => {
  const dump = `chain ${dumpOf(chain.jsonFilename)}`;
  const said = run('lldb-19', '-b', '-o', `target create --core "${dump}"`, '-o', 'thread list', '-o', 'image list');
  const hex = (id) => `tid = 0x${id.toString(16).padStart(4, '0')}`;
  const stalled = said.split('\n').filter((line) => line.trim().startsWith('* thread'));
  assert.ok(stalled.length === 1 && stalled[0].includes(hex(chain.threadId)), said);
  for (const part of [hex(chain.otherThreadId), 'stall_target.exe', 'ntdll.dll']) assert.ok(said.includes(part), said);
  assert.ok(!said.includes('node.exe'), said);
});

test('symbolise names the functions of a report, and refuses a missing or wrong file in one line', () => {
  const lines = symbolise(`chain ${chain.jsonFilename}`);
  const functions = lines.map((line) => line.match(/^stall_\S+ {2}(.*) at tests\/jank\/targets\/.*:\d+$/)?.[1]);
  assert.deepEqual(functions.filter(Boolean), ['Innermost', 'Outer', 'main'], lines.join('\n'));
  assert.ok(lines.includes(chain.captureStackResult.stackTrace.split('\r\n')[0]), 'a line of another module stays');
  assert.throws(() => symbolise('missing.json'), { stderr: /^There is no file .*missing\.json\.\n$/ });
  assert.throws(() => symbolise(dumpOf(`chain ${chain.jsonFilename}`)), { stderr: /^.* is no jank report.*\n$/ });
});
