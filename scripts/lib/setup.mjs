// What the project needs on a machine, installed when it is missing: Debian packages, npm packages, Wine prefixes.
// Everything here is quick when there is nothing to do.
import { spawnSync } from 'node:child_process';
import { createHash } from 'node:crypto';
import { cpSync, existsSync, mkdirSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import path from 'node:path';
import { onWindows, root, run, say, SetupError, succeeds } from './shell.mjs';

const buildPackages = [
  'cmake', 'ninja-build', 'g++-mingw-w64-x86-64-posix', 'nlohmann-json3-dev', 'googletest', 'wine', 'wine64'];
const testPackages = ['clang-format-14', 'clang-tidy-14', 'lldb-14', 'openssl', 'osslsigncode'];

/** Sees to the tools that building and running need; with `forTests` to those of the tests too. */
export function ensureTools({ forTests = false } = {}) {
  if (onWindows) ensureMsvc();
  else ensureDebianPackages(forTests ? [...buildPackages, ...testPackages] : buildPackages);
  ensureNpmPackages(root);
  ensureNpmPackages(path.join(root, 'tools', 'windows-node'));
}

function ensureMsvc() {
  if (!process.env.VCPKG_ROOT || !succeeds('cl', ['/?']) || !succeeds('ninja', ['--version'])) {
    throw new SetupError('Install Visual Studio 2022 with C++ and vcpkg, then run this in its x64 Native Tools prompt.');
  }
}

function ensureDebianPackages(packages) {
  const query = spawnSync('dpkg-query', ['-W', '-f', '${Package} ${db:Status-Status}\\n', ...packages],
    { encoding: 'utf8' });
  if (query.error) throw new SetupError(`This is not Debian. Install what these packages hold: ${packages.join(' ')}`);
  const installed = new Set(query.stdout.split('\n').filter((line) => line.endsWith(' installed'))
    .map((line) => line.split(' ')[0]));
  const missing = packages.filter((name) => !installed.has(name));
  if (missing.length === 0) return;
  if (process.getuid() !== 0) throw new SetupError(`Install as root: apt-get install ${missing.join(' ')}`);
  say(`Installing ${missing.length} Debian packages (a minute or two): ${missing.join(' ')}`);
  const env = { DEBIAN_FRONTEND: 'noninteractive' };
  run('apt-get', ['update', '-q'], { env });
  run('apt-get', ['install', '-q', '-y', '--no-install-recommends', ...missing], { env });
}

/** Installs a folder's npm packages when its lock file has changed since the last time. */
function ensureNpmPackages(folder) {
  const stamp = path.join(folder, 'node_modules', '.installed-lock');
  const lock = createHash('sha256').update(readFileSync(path.join(folder, 'package-lock.json'))).digest('hex');
  if (existsSync(stamp) && readFileSync(stamp, 'utf8') === lock) return;
  say(`Installing the npm packages of ${path.relative(root, folder) || 'the project'}`);
  run('npm', ['ci', '--no-audit', '--no-fund'], { cwd: folder, shell: onWindows });
  writeFileSync(stamp, lock);
}

/**
 * The Wine prefix of a lane. Programs in different lanes share no registry, so tests in them can run side by side.
 */
export function ensureWinePrefix(lane = 0) {
  const prefix = path.join(root, 'build', 'wine', `lane-${lane}`);
  const stamp = path.join(prefix, '.ready');
  if (existsSync(stamp)) return prefix;
  rmSync(prefix, { recursive: true, force: true });
  if (lane > 0) {
    const first = ensureWinePrefix(0);
    stopWine(first);
    say(`Copying the Wine prefix for lane ${lane}`);
    cpSync(first, prefix, { recursive: true, verbatimSymlinks: true });
    return prefix;
  }
  say('Making the Wine prefix (about ten seconds)');
  mkdirSync(prefix, { recursive: true });
  const env = wineEnvironment(prefix);
  run(wine, ['wineboot', '-i'], { env });
  // A fresh prefix claims Windows 7, on which Node.js refuses to start.
  run(wine, ['winecfg', '-v', 'win10'], { env });
  stopWine(prefix);
  writeFileSync(stamp, '');
  return prefix;
}

/** The 64-bit loader itself: the wrapper script in /usr/bin asks for a 32-bit Wine that nothing here needs. */
export const wine = '/usr/lib/wine/wine64';

export function wineEnvironment(prefix) {
  return { WINEPREFIX: prefix, WINEARCH: 'win64', WINEDEBUG: '-all', WINEDLLOVERRIDES: 'dbghelp=n,b' };
}

/** Ends every Windows program of a prefix and waits until its registry is on disk. */
export function stopWine(prefix) {
  const env = { ...process.env, ...wineEnvironment(prefix) };
  spawnSync('/usr/lib/wine/wineserver64', ['-k'], { env, stdio: 'ignore' });
  spawnSync('/usr/lib/wine/wineserver64', ['-w'], { env, stdio: 'ignore' });
}
