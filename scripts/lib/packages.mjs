// Packs a build into tarballs, and unpacks them for tests. scripts/package.mjs names the tarballs.
import { createHash } from 'node:crypto';
import { existsSync, mkdirSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import path from 'node:path';
import { buildFolder } from './build.mjs';
import { root, run, SetupError } from './shell.mjs';

const sumsFile = 'SHA256SUMS';
const hash = (file) => createHash('sha256').update(readFileSync(file)).digest('hex');

function emptyFolder(folder) {
  rmSync(folder, { recursive: true, force: true });
  mkdirSync(folder, { recursive: true });
  return folder;
}

/** Packs a folder as npm does, without running its scripts. Returns the tarball's name in the folder `to`. */
const npmPack = (from, to) => JSON.parse(
  run('npm', ['pack', from, '--ignore-scripts', '--json', '--pack-destination', to]))[0].filename;

/** Packs files of a folder. Equal files give an equal tarball. */
const pack = (tarball, folder, ...files) => run('tar', ['--sort=name', '--mtime=@0', '--owner=0', '--group=0',
  '--numeric-owner', '--mode=644', '-I', 'gzip -n', '-cf', tarball, '-C', folder, ...files]);

/** Unpacks a tarball. It is given as standard input, because GNU tar takes the "C:" of a path for a machine. */
const unpack = (tarball, folder, ...options) => run('tar', ['-xzmf', '-', ...options],
  { cwd: folder, input: readFileSync(tarball), stdio: 'pipe' });

/** The manifest without what only the repository needs. */
function shippedManifest(text) {
  const { private: unused, scripts, devDependencies, ...shipped } = JSON.parse(text);
  return `${JSON.stringify(shipped, undefined, 2)}\n`;
}

/** Packs the finished build into build/packages/. Returns the names of the files. */
export function makePackages() {
  const stage = emptyFolder(path.join(root, 'build', 'stage'));
  unpack(path.join(stage, npmPack(root, stage)), stage);
  const manifest = path.join(stage, 'package', 'package.json');
  writeFileSync(manifest, shippedManifest(readFileSync(manifest, 'utf8')));

  const folder = emptyFolder(path.join(root, 'build', 'packages'));
  const tarball = npmPack(path.join(stage, 'package'), folder);
  const [debug, programs] = ['debug', 'test-programs'].map((what) => tarball.replace(/\.tgz$/, `-${what}.tgz`));
  pack(path.join(folder, debug), path.join(root, 'prebuilds', 'win32-x64'), 'borvanta-util.node.debug');
  pack(path.join(folder, programs), buildFolder(), 'targets/stall_target.exe', 'runtime/dbghelp.dll');
  const names = [tarball, debug, programs];
  writeFileSync(path.join(folder, sumsFile),
    names.map((name) => `${hash(path.join(folder, name))}  ${name}\n`).join(''));
  return [...names, sumsFile];
}

/** Checks the tarballs of the folder `from` and unpacks them into `to`, each where a build would have put its files. */
export function unpackPackages(from, to) {
  const sums = path.join(from, sumsFile);
  if (!existsSync(sums)) throw new SetupError(`There is no file ${sums}. "npm run package" makes such a folder.`);
  emptyFolder(to);
  for (const [, sum, name] of readFileSync(sums, 'utf8').matchAll(/^(\w+) {2}(.*)$/gm)) {
    const tarball = path.join(from, name);
    if (!existsSync(tarball) || hash(tarball) !== sum) throw new SetupError(`${tarball} is missing or damaged.`);
    const [place, ...options] = name.endsWith('-debug.tgz') ? ['prebuilds/win32-x64']
      : name.endsWith('-test-programs.tgz') ? ['build/mingw'] : ['.', '--strip-components=1'];
    mkdirSync(path.join(to, place), { recursive: true });
    unpack(tarball, path.join(to, place), ...options);
  }
}
