// Installs the Debian packages and npm packages that the project needs and the machine lacks. Takes almost no time if
// all are installed.
import { spawnSync } from 'node:child_process';
import { createHash } from 'node:crypto';
import { existsSync, readFileSync, writeFileSync } from 'node:fs';
import path from 'node:path';
import { onWindows, root, run, say, SetupError, succeeds } from './shell.mjs';
import { ensureWine, winePackages } from './wine_files.mjs';

// Each Debian package with one of its files. On a system without dpkg, a package counts as installed if its file
// exists.
const buildPackages = {
  cmake: '/usr/bin/cmake',
  'ninja-build': '/usr/bin/ninja',
  'g++-mingw-w64-x86-64-posix': '/usr/bin/x86_64-w64-mingw32-g++-posix',
  'nlohmann-json3-dev': '/usr/include/nlohmann/json.hpp',
  ...winePackages,
};
const testPackages = {
  'clang-19': '/usr/bin/clang++-19',
  'clang-format-19': '/usr/bin/clang-format-19',
  'clang-tidy-19': '/usr/bin/clang-tidy-19',
  'lldb-19': '/usr/bin/lldb-19',
  openssl: '/usr/bin/openssl',
  osslsigncode: '/usr/bin/osslsigncode',
};

/**
 * Installs the tools for building and running; with `forTests` also those for the tests. With `finished`, installs only
 * what tests of a finished build need. Throws a SetupError if the user must do something first.
 */
export function ensureTools({ forTests = false, finished = false } = {}) {
  if (onWindows && !finished) ensureMsvc();
  if (!onWindows) {
    ensureDebianPackages(finished ? winePackages : { ...buildPackages, ...(forTests ? testPackages : {}) });
    ensureWine();
  }
  if (!finished) ensureNpmPackages(root);
  ensureNpmPackages(windowsNodeFolder, nodeVersions.map(windowsNodeFile));
}

function ensureMsvc() {
  if (!process.env.VCPKG_ROOT || !succeeds('cl', ['/?']) || !succeeds('ninja', ['--version'])) {
    throw new SetupError('Install Visual Studio 2022 with C++ and vcpkg, then run this in its x64 Native Tools prompt '
      + '(cl and ninja must be on the PATH, and VCPKG_ROOT set).');
  }
}

/** Throws a SetupError on a Windows that has the client's registry keys. Call it before tests, which delete them. */
export function ensureNoClient() {
  if (!onWindows) return;
  for (const key of ['HKLM\\SOFTWARE\\Borvanta', 'HKLM\\SOFTWARE\\Microsoft\\DirectX\\UserGpuPreferences']) {
    for (const view of ['/reg:32', '/reg:64']) {
      if (!succeeds('reg', ['query', key, view])) continue;
      throw new SetupError(`The tests would delete the registry key ${key}. Run them on a machine without the client. `
        + `If interrupted tests have left the key, delete it yourself: reg delete ${key} ${view}`);
    }
  }
}

function ensureDebianPackages(packages) {
  const names = Object.keys(packages);
  const query = spawnSync('dpkg-query', ['-W', '-f', '${Package} ${db:Status-Status}\\n', ...names],
    { encoding: 'utf8' });
  const onDebian = !query.error;
  const installed = new Set(onDebian
    ? query.stdout.split('\n').filter((line) => line.endsWith(' installed')).map((line) => line.split(' ')[0])
    : names.filter((name) => existsSync(packages[name])));
  const missing = names.filter((name) => !installed.has(name)).join(' ');
  if (!missing) return;
  if (!onDebian) {
    throw new SetupError(`Install the tools of these Debian packages, in the same folders as on Debian: ${missing}`);
  }
  if (process.getuid() !== 0) {
    throw new SetupError(`Install as root: apt-get install --no-install-recommends ${missing}`);
  }
  say(`Installing Debian packages (a minute or two): ${missing}`);
  const env = { DEBIAN_FRONTEND: 'noninteractive' };
  try {
    run('apt-get', ['update', '-q'], { env });
    run('apt-get', ['install', '-q', '-y', '--no-install-recommends', ...missing.split(' ')], { env });
  } catch (error) {
    throw new SetupError(`${error.message}\nInstall these Debian packages, then try again: ${missing}`);
  }
}

/** Installs a folder's npm packages if its lock file has changed since the last time, or a wanted file is missing. */
function ensureNpmPackages(folder, wanted = []) {
  const stamp = path.join(folder, 'node_modules', '.installed-lock');
  const lock = createHash('sha256').update(readFileSync(path.join(folder, 'package-lock.json'))).digest('hex');
  const isMissing = (file) => !existsSync(file);
  if (existsSync(stamp) && readFileSync(stamp, 'utf8') === lock && !wanted.some(isMissing)) return;
  say(`Installing the npm packages of ${path.relative(root, folder) || 'the project'}`);
  run('npm', ['ci', '--no-audit', '--no-fund'], { cwd: folder, shell: onWindows });
  // npm keeps silent when it cannot get an optional package.
  const missing = wanted.filter(isMissing);
  if (missing.length > 0) {
    throw new SetupError(`npm could not install ${missing.join(', ')}; is the registry of npm reachable?`);
  }
  writeFileSync(stamp, lock);
}

/** The releases of Node.js in which tests run: the last one is the default. On Windows only the running one. */
export const nodeVersions = onWindows ? [process.versions.node.split('.')[0]] : ['18', '22', '24', '26'];

const windowsNodeFolder = path.join(root, 'tools', 'windows-node');

/** The path of a release's node.exe: where npm installs it, or on Windows the running one. */
export function windowsNodeFile(version) {
  if (onWindows) return process.execPath;
  return path.join(windowsNodeFolder, 'node_modules', `node${version}`, 'bin', 'node.exe');
}
