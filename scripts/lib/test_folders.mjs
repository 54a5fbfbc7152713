// The folders in which tests run. Tests load the package of their own folder: the checkout's, or a copy of the tests
// beside another build.
import { cpSync, mkdirSync, rmSync, symlinkSync } from 'node:fs';
import path from 'node:path';
import { buildFolder, buildWithClang } from './build.mjs';
import { unpackPackages } from './packages.mjs';
import { root, say } from './shell.mjs';

/** The folder for each build: "shipped" is the checkout's own, "clang" is Clang's, "packed" is what tarballs hold. */
export const testFolders = {
  shipped: root, clang: path.join(buildFolder('clang'), 'tested'), packed: path.join(root, 'build', 'packed'),
};

/** Copies the tests, and koffi, which they load from tools/. */
function copyTests(folder) {
  const modules = 'tools/windows-node/node_modules';
  for (const part of ['tests', `${modules}/koffi`, `${modules}/@koromix`]) {
    cpSync(path.join(root, part), path.join(folder, part), { recursive: true });
  }
}

/** Builds with Clang and fills the folder "clang": the package with Clang's module, and Clang's test programs. */
export async function makeClangFolder() {
  await buildWithClang();
  const folder = testFolders.clang;
  rmSync(folder, { recursive: true, force: true });
  const copy = (from, to) => cpSync(from, path.join(folder, to), { recursive: true });
  for (const part of ['docs', 'lib', 'package.json']) copy(path.join(root, part), part);
  copy(path.join(buildFolder('clang'), 'module'), 'prebuilds/win32-x64');
  mkdirSync(path.join(folder, 'build', 'clang'), { recursive: true });
  symlinkSync(path.join(buildFolder('clang'), 'targets'), path.join(folder, 'build', 'clang', 'targets'));
  copyTests(folder);
}

/** Fills the folder "packed" from a folder that "npm run package" has made. */
export function makePackedFolder(from) {
  say(`Unpacking ${from}`);
  unpackPackages(from, testFolders.packed);
  copyTests(testFolders.packed);
}
