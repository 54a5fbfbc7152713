// Wine 10, in which Windows programs run here. Debian 13 has it as a package. The Wine of Debian 12 is too old for Node.js
// 24 and later. There, packages of Debian 13 are unpacked into build/wine-10/, and nothing is installed.
import {
  copyFileSync, existsSync, mkdirSync, readdirSync, readFileSync, renameSync, rmSync, symlinkSync, writeFileSync,
} from 'node:fs';
import path from 'node:path';
import { root, run, say, SetupError } from './shell.mjs';

const release = '/etc/os-release';
const onDebian12 = existsSync(release) && /^ID=debian$/m.test(readFileSync(release, 'utf8'))
  && /^VERSION_ID="?12"?$/m.test(readFileSync(release, 'utf8'));
const unpacked = path.join(root, 'build', 'wine-10');
const folder = onDebian12 ? unpacked : '/';

// The 64-bit loader and server themselves: the wrapper scripts in /usr/bin need a 32-bit Wine.
export const wine = path.join(folder, 'usr/lib/wine/wine64');
export const wineServer = path.join(folder, 'usr/lib/wine/wineserver64');

/** The environment variables with which Wine's programs find what is theirs. */
export const wineFilesEnvironment = {
  WINESERVER: wineServer, ...(onDebian12 && { FONTCONFIG_PATH: path.join(folder, 'etc/fonts') }),
};

/** The Debian packages that Wine needs here, each with one of its files. */
export const winePackages = onDebian12 ? { patchelf: '/usr/bin/patchelf' } : { wine64: wine };

// Wine, and of the packages that it depends on those that a program without a window needs.
const packages = [
  'wine64', 'libwine', 'libz-mingw-w64', 'libc6', 'libgcc-s1', 'libunwind8', 'liblzma5', 'zlib1g',
  // Fonts: without them, no process gets its desktop window.
  'fonts-wine', 'libfreetype6', 'libpng16-16t64', 'libbz2-1.0', 'libfontconfig1', 'fontconfig-config', 'libexpat1',
  // The cryptography: a signature is verified with it.
  'libgnutls30t64', 'libp11-kit0', 'libffi8', 'libidn2-0', 'libunistring5', 'libtasn1-6', 'libnettle8t64',
  'libhogweed6t64', 'libgmp10', 'libzstd1', 'libbrotli1',
];
// What no test needs: 100 MB here and in each Wine prefix.
const unneeded = /^(mshtml|jscript|vbscript|wined3d|d2d1|d3d\w+|msi|msxml3|msvc[pr](\d\d|1[012]0)\w*)\.dll$/;

/** Unpacks Wine on a Debian 12 that lacks it. Takes almost no time if it is there. */
export function ensureWine() {
  if (!onDebian12) return;
  // Programs of the folder have its path in them, so a folder that was moved with its checkout is not used.
  const stamp = path.join(unpacked, 'unpacked');
  const wanted = [unpacked, ...packages].join('\n');
  if (existsSync(stamp) && readFileSync(stamp, 'utf8') === wanted) return;
  say('Unpacking Wine 10 from packages of Debian 13 into build/wine-10 (about ten seconds)');
  // Complete or not at all: a draft of an earlier run that did not come to its end is deleted.
  const draft = `${unpacked}.draft`;
  for (const old of [draft, unpacked]) rmSync(old, { recursive: true, force: true });
  const downloads = path.join(draft, 'downloads');
  mkdirSync(downloads, { recursive: true });
  try {
    download(downloads);
    for (const file of readdirSync(downloads).filter((name) => name.endsWith('.deb'))) {
      run('dpkg-deb', ['-x', path.join(downloads, file), draft]);
    }
    rmSync(downloads, { recursive: true });
    for (const name of ['doc', 'locale']) rmSync(path.join(draft, 'usr/share', name), { recursive: true });
    setUp(draft);
    writeFileSync(path.join(draft, path.basename(stamp)), wanted);
    renameSync(draft, unpacked);
  } catch (error) {
    rmSync(draft, { recursive: true, force: true });
    throw new SetupError(`${error.message}\nWine 10 could not be unpacked. Is the mirror of Debian reachable?`);
  }
}

/** Downloads the packages. apt checks them by Debian's signatures. Its lists and state go into the folder too. */
function download(target) {
  const [mirror] = run('apt-get', ['indextargets', '--no-release-info', '--format', '$(REPO_URI)',
    'Created-By: Packages', 'Release: bookworm', 'Component: main']).split('\n').filter(Boolean);
  if (!mirror) throw new Error('apt has no source of Debian 12 (bookworm) whose mirror could be used.');
  const file = (name, text) => {
    writeFileSync(path.join(target, name), text);
    return path.join(target, name);
  };
  for (const name of ['state/lists/partial', 'cache/archives/partial']) {
    mkdirSync(path.join(target, name), { recursive: true });
  }
  const env = { APT_CONFIG: file('apt.conf', `
    Dir::Etc::SourceList "${file('sources.list',
    `deb [arch=amd64 signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] ${mirror} trixie main\n`)}";
    Dir::Etc::SourceParts "/dev/null";
    Dir::Etc::Preferences "/dev/null";
    Dir::Etc::PreferencesParts "/dev/null";
    Dir::State "${target}/state";
    Dir::State::Status "${file('status', '')}";
    Dir::Cache "${target}/cache";
    APT::Sandbox::User "root";
    APT::Update::Error-Mode "any";
    APT::Get::AllowUnauthenticated "false";
    Acquire::AllowInsecureRepositories "false";
    Acquire::Retries "3";
  `) };
  // The system's own commands after an update are for the system's own packages.
  const clear = ['Pre-Invoke', 'Post-Invoke', 'Post-Invoke-Success'].map((when) => `#clear APT::Update::${when};\n`);
  run('apt-get', ['-c', file('clear.conf', clear.join('')), '-q', 'update'], { env });
  run('apt-get', ['-q', 'download', ...packages], { env, cwd: target });
}

/** Does what installing would do, and lets Wine's programs use the folder's own C library. */
function setUp(draft) {
  const libraries = path.join(draft, 'usr/lib/x86_64-linux-gnu');
  const modules = path.join(libraries, 'wine/x86_64-windows');
  // The server looks for its tables there, or else in the folders of the system's own Wine.
  symlinkSync('.', path.join(draft, 'usr/share/wine/wine'));
  // Wine takes a DLL for its own by these 32 bytes behind the DOS header.
  const zlib = readFileSync(path.join(draft, 'usr/x86_64-w64-mingw32/lib/zlib1.dll'));
  zlib.fill(0, 64, 96).write('Wine builtin DLL', 64);
  writeFileSync(path.join(modules, 'zlib1.dll'), zlib);
  for (const name of readdirSync(modules).filter((module) => unneeded.test(module))) rmSync(path.join(modules, name));
  const inDraft = (file) => path.join(draft, path.relative(unpacked, file));
  const ownLibraries = path.join(unpacked, path.relative(draft, libraries));
  for (const program of [wine, wineServer].map(inDraft)) {
    run('patchelf', ['--set-interpreter', path.join(ownLibraries, 'ld-linux-x86-64.so.2'),
      '--force-rpath', '--set-rpath', ownLibraries, program]);
  }
  // The loader starts this name, which is a script that would start the server of the system's own Wine.
  copyFileSync(inDraft(wineServer), inDraft(path.join(path.dirname(wineServer), 'wineserver')));
}
