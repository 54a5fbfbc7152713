// Tests the package as a client gets it: packs it, installs it with npm into an empty project, loads it there in
// Node.js for Windows, and compiles TypeScript that uses it. Runs in the build machine's Node.js.
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { copyFileSync, mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import test from 'node:test';
import { fileURLToPath } from 'node:url';

const root = fileURLToPath(new URL('../..', import.meta.url));
const project = mkdtempSync(path.join(os.tmpdir(), 'borvanta-package-'));
test.after(() => rmSync(project, { recursive: true }));
const options = { cwd: project, encoding: 'utf8', env: { ...process.env, INIT_CWD: project } };
const run = (program, ...args) => spawnSync(program, args, options);
const node = (...args) => run(process.execPath, ...args);
const write = (name, text) => writeFileSync(path.join(project, name), text);

// The module has just been built, so packing need not build it.
const [{ filename, files }] = JSON.parse(run('npm', 'pack', root, '--ignore-scripts', '--json').stdout);
write('package.json', '{ "private": true }');
// Offline, so that the installation fails if the package needs another one.
run('npm', 'install', '--offline', '--no-audit', '--no-fund', `./${filename}`);
const names = files.map((file) => file.path);
const pages = names.filter((name) => name.endsWith('.md'))
  .map((name) => [name, readFileSync(path.join(project, 'node_modules/borvanta-util', name), 'utf8')]);

test('the package has only the module, scripts, headers and pages, and all files that pages link to', () => {
  const wanted = /^(lib\/[\w./-]+|(docs\/)?[\w-]+\.md|package\.json|prebuilds\/win32-x64\/[\w-]+\.node|src\/.*\.h)$/;
  assert.deepEqual(names.filter((name) => !wanted.test(name)), []);
  const links = pages.flatMap(([page, text]) => [...text.matchAll(/\]\((?!https?:)([^)#]+)/g)]
    .map(([, link]) => path.join(path.dirname(page), link)));
  assert.deepEqual(links.filter((link) => !names.includes(link)), []);
});

test('the package loads in Node.js for Windows, and on Linux throws that it runs on Windows only', () => {
  write('main.mjs', `import { enumProcessList } from 'borvanta-util/promises';
    console.log((await enumProcessList()).list.find(({ pid }) => pid === process.pid).name);`);
  assert.equal(node(path.join(root, 'scripts/windows-node.mjs'), 'main.mjs').stdout, 'node.exe\n');
  assert.match(node('main.mjs').stderr, /^Error: borvanta-util runs on 64-bit Windows only, not on linux/m);
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
