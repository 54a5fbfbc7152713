// Tests the tarballs of "npm run package", which ship. Installs the package with npm into an empty project, loads it
// there in Node.js for Windows, and compiles TypeScript that uses it. Runs in the build machine's Node.js.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { copyFileSync, readdirSync, readFileSync, writeFileSync } from 'node:fs';
import path from 'node:path';
import test from 'node:test';
import { folder as project, root, run, runScript, tryRun } from '../support/host.mjs';

const node = (...args) => tryRun(process.execPath, ...args);
const write = (name, text) => writeFileSync(path.join(project, name), text);

runScript('package.mjs');
const packages = path.join(root, 'build/packages');
const [debug, , tarball] = readdirSync(packages).filter((name) => name.endsWith('.tgz')).sort();
write('package.json', '{ "private": true }');
// Offline, so that the installation fails if the package needs another one.
run('npm', 'install', '--offline', '--no-audit', '--no-fund', path.join(packages, tarball));
const installed = path.join(project, 'node_modules/borvanta-util');
const names = readdirSync(installed, { recursive: true, withFileTypes: true }).filter((file) => file.isFile())
  .map((file) => path.relative(installed, path.join(file.parentPath, file.name)));
const pages = names.filter((name) => name.endsWith('.md'))
  .map((name) => [name, readFileSync(path.join(installed, name), 'utf8')]);

test('the package has only the module, scripts, headers and pages, and all that pages link to', () => {
  const wanted = /^(lib\/[\w./-]+|(docs\/)?[\w-]+\.md|package\.json|prebuilds\/win32-x64\/[\w-]+\.node|src\/.*\.h)$/;
  assert.deepEqual(names.filter((name) => !wanted.test(name)), []);
  const headings = pages.flatMap(([page, text]) => [...text.matchAll(/^#+ (.*)$/gm)]
    .map(([, heading]) => `${page}#${heading.toLowerCase().replace(/[^\w -]/g, '').replaceAll(' ', '-')}`));
  const links = pages.flatMap(([page, text]) => [...text.matchAll(/\]\((?!https?:)([^)#]*)(#[^)]*)?\)/g)]
    .map(([, file, heading = '']) => (file ? path.join(path.dirname(page), file) : page) + heading));
  assert.deepEqual(links.filter((link) => ![...names, ...headings].includes(link)), []);
});

test('the manifest is the client\'s, npm packs the same files again, and refuses to pack the repository', () => {
  const manifest = JSON.parse(readFileSync(path.join(installed, 'package.json'), 'utf8'));
  assert.equal(manifest.type, 'commonjs');
  const exported = Object.values(manifest.exports).flatMap((entry) => (typeof entry === 'string' ? entry
    : Object.values(entry)));
  assert.deepEqual(exported.filter((file) => !names.includes(path.normalize(file))), []);
  assert.deepEqual(['scripts', 'private', 'devDependencies'].filter((name) => name in manifest), []);
  const [{ files }] = JSON.parse(run('npm', 'pack', installed, '--dry-run', '--json'));
  assert.deepEqual(files.map((file) => file.path).sort(), names.sort());
  assert.match(tryRun('npm', 'pack', root, '--dry-run').stdout, /^This is not what ships\./m);
});

test('the tarballs have the module and the debug file of the build', () => {
  const built = (file) => readFileSync(path.join(root, 'prebuilds/win32-x64', file));
  const module = 'prebuilds/win32-x64/borvanta-util.node';
  assert.ok(readFileSync(path.join(installed, module)).equals(built('borvanta-util.node')));
  const unpacked = execFileSync('tar', ['-xzOf', path.join(packages, debug)], { maxBuffer: 1 << 28 });
  assert.ok(unpacked.equals(built('borvanta-util.node.debug')));
});

test('the package loads in Node.js for Windows, and on Linux throws an error; its command runs everywhere', () => {
  write('main.mjs', `import { enumProcessList } from 'borvanta-util/promises';
    console.log((await enumProcessList()).list.find(({ pid }) => pid === process.pid).name);`);
  assert.equal(runScript('windows-node.mjs', 'main.mjs'), 'node.exe\n');
  const { stderr } = node('main.mjs');
  assert.match(stderr, /^Error: borvanta-util needs x64 Node.js on Windows\. This is Node.js for linux [^]*PLATFORM'/m);
  assert.match(run('npx', '--offline', 'borvanta-util', '--help'), /^Usage: borvanta-util/);
});

for (const [resolution, module, ...uses] of [['node16', 'node16', 'use.cts', 'use.mts'],
  ['bundler', 'preserve', 'use.ts'], ['node10', 'commonjs', 'use.ts']]) {
  test(`the types and the examples of the pages compile with module resolution ${resolution}`, () => {
    for (const use of uses) copyFileSync(path.join(root, 'tests/package/use.mts'), path.join(project, use));
    const examples = pages.flatMap(([, text]) => [...text.matchAll(/^```js\n(.*?)^```$/gms)]);
    examples.forEach(([, example], index) => write(`example${index}.js`, example));
    assert.equal(node(path.join(root, 'node_modules/typescript/bin/tsc'), '--noEmit', '--strict', '--checkJs',
      '--skipLibCheck', '--lib', 'es2022', '--typeRoots', path.join(root, 'node_modules/@types'), '--module', module,
      '--moduleResolution', resolution, ...uses, ...examples.map((_, index) => `example${index}.js`)).stdout, '');
  });
}
