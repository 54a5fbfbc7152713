// The package as a client gets it: packed, installed with plain npm into an empty project, loaded there in Node.js for
// Windows, and compiled against. Runs on the Linux side.
import assert from 'node:assert/strict';
import { execFileSync, spawnSync } from 'node:child_process';
import { existsSync, mkdirSync, mkdtempSync, readFileSync, readdirSync, rmSync, writeFileSync } from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import test, { after, before } from 'node:test';
import { fileURLToPath } from 'node:url';

const root = path.resolve(path.dirname(fileURLToPath(import.meta.url)), '..', '..');
const folder = mkdtempSync(path.join(os.tmpdir(), 'borvanta-package-'));
const project = path.join(folder, 'project');
let tarball;

const npm = (args, cwd) => execFileSync('npm', args, { cwd, encoding: 'utf8', stdio: ['ignore', 'pipe', 'pipe'] });

/** Writes a file of the project and gives its path. */
function write(name, text) {
  const file = path.join(project, name);
  writeFileSync(file, text);
  return file;
}

before(() => {
  // The module has just been built, so the packing need not do so.
  npm(['pack', '--ignore-scripts', '--pack-destination', folder], root);
  tarball = path.join(folder, readdirSync(folder).find((name) => name.endsWith('.tgz')));
  mkdirSync(project);
  write('package.json', '{ "private": true }');
  // Offline, so that it fails if it should want any other package.
  npm(['install', '--offline', '--no-audit', '--no-fund', tarball], project);
});

after(() => rmSync(folder, { recursive: true, force: true }));

test('holds what a client needs and nothing else', () => {
  const listed = execFileSync('tar', ['-tzf', tarball], { encoding: 'utf8' }).trim().split('\n').sort();
  assert.deepEqual(listed, ['CHANGELOG.md', 'README.md', 'THIRD-PARTY.md', 'docs/bench.svg', 'docs/jank-report.md', 'docs/security.md',
    'lib/index.d.ts', 'lib/index.js', 'lib/promises.d.ts', 'lib/promises.js', 'package.json',
    'prebuilds/win32-x64/borvanta-util.node', 'src/jank/dbghelp_functions.h'].map((name) => `package/${name}`));
  assert.deepEqual(readdirSync(path.join(project, 'node_modules')), ['.package-lock.json', 'borvanta-util']);
});

test('has no link in its pages that leads nowhere', () => {
  const installed = path.join(project, 'node_modules', 'borvanta-util');
  for (const page of ['README.md', 'CHANGELOG.md', 'docs/jank-report.md', 'docs/security.md']) {
    const links = readFileSync(path.join(installed, page), 'utf8').matchAll(/\]\((?!https?:)([^)#]+)/g);
    const dead = [...links].filter(([, link]) => !existsSync(path.join(installed, path.dirname(page), link)));
    assert.deepEqual(dead.map(([, link]) => link), [], page);
  }
});

const use = `console.log(JSON.stringify({
  names: Object.keys(util).filter((name) => name !== 'default' && name !== 'module.exports').sort(),
  os: util.getOsVersionWithReleaseId(),
  listsItself: (await promises.enumProcessList()).list.some(({ pid }) => pid === process.pid),
}));`;
const scripts = {
  'main.cjs': `const util = require('borvanta-util');
    const promises = require('borvanta-util/promises');
    (async () => { ${use} })();`,
  'main.mjs': `import * as util from 'borvanta-util';
    import * as promises from 'borvanta-util/promises';
    ${use}`,
};

for (const [name, text] of Object.entries(scripts)) {
  test(`loads in Node.js for Windows from ${name}`, () => {
    const said = JSON.parse(execFileSync(process.execPath,
      [path.join(root, 'scripts', 'windows-node.mjs'), write(name, text)], { encoding: 'utf8' }));
    assert.equal(said.names.length, 13);
    assert.ok(said.names.includes('captureNativeJank'), said.names);
    assert.match(said.os, /^10/);
    assert.equal(said.listsItself, true);
  });
}

test('can be installed on Linux, and says when it is loaded there that it does not run', () => {
  const { status, stderr } = spawnSync(process.execPath, ['-e', 'require("borvanta-util")'],
    { cwd: project, encoding: 'utf8' });
  assert.notEqual(status, 0);
  assert.match(stderr, /^Error: borvanta-util runs on 64-bit Windows only, not on linux/m);
});

const typeUse = `
const name: string = util.getCpuName();
const pids: Promise<number[]> = promises.enumProcessList().then(({ list }) => list.map(({ pid }) => pid));
// @ts-expect-error it is a text
const wrong: number = util.getGuid();
export { name, pids, wrong };`;

test('types resolve under CommonJS and ES modules, with and without a bundler', () => {
  const files = [
    write('types.cts', `import util = require('borvanta-util'); import promises = require('borvanta-util/promises');
      ${typeUse}`),
    write('types.mts', `import * as util from 'borvanta-util'; import * as promises from 'borvanta-util/promises';
      ${typeUse}`),
  ];
  for (const [module, resolution] of [['node16', 'node16'], ['preserve', 'bundler']]) {
    const { status, stdout } = spawnSync(process.execPath, [path.join(root, 'node_modules/typescript/bin/tsc'),
      '--noEmit', '--strict', '--target', 'es2022', '--module', module, '--moduleResolution', resolution, ...files],
    { cwd: project, encoding: 'utf8' });
    assert.equal(status, 0, `${resolution}: ${stdout}`);
  }
});
