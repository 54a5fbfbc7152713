// clang-format and clang-tidy over all C++ files. A file that clang-tidy found nothing in is not looked at again until
// it, a header, the way it is compiled or a setting changes.
import { execFile, spawnSync } from 'node:child_process';
import { createHash } from 'node:crypto';
import { existsSync, mkdirSync, readdirSync, readFileSync, writeFileSync } from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import { promisify } from 'node:util';
import { buildFolder } from './build.mjs';
import { onWindows, root, say } from './shell.mjs';

function sourceFiles() {
  return ['src', 'tests', 'bench'].flatMap((folder) => readdirSync(path.join(root, folder), { recursive: true })
    .filter((file) => /\.(cc|h)$/.test(file)).map((file) => path.join(folder, file))).sort();
}

/** Where the cross-compiler's own headers lie: clang-tidy does not find Debian's "-posix" folder by itself. */
function crossCompilerArguments() {
  const library = spawnSync('x86_64-w64-mingw32-g++-posix', ['-print-libgcc-file-name'], { encoding: 'utf8' }).stdout;
  const include = path.join(path.dirname(library.trim()), 'include', 'c++');
  return ['--target=x86_64-w64-mingw32', `-isystem${include}`, `-isystem${include}/x86_64-w64-mingw32`];
}

function checkFormat(files) {
  const result = spawnSync('clang-format-14', ['--dry-run', '-Werror', ...files], { cwd: root, encoding: 'utf8' });
  return result.status === 0 ? { passed: 1, failed: 0 } : { passed: 0, failed: 1, output: result.stderr };
}

async function checkTidy(files) {
  const hash = (...parts) => createHash('sha256').update(parts.join('\0')).digest('hex');
  const read = (file) => readFileSync(path.resolve(root, file), 'utf8');
  // What else is compiled with: the compiler's arguments, and the libraries' headers by their versions.
  const others = ['.clang-tidy', `${buildFolder}/compile_commands.json`, 'package-lock.json'];
  const common = hash(...[...others, ...files.filter((file) => file.endsWith('.h'))].map(read));
  const cache = path.join(root, 'build', 'tidy');
  mkdirSync(cache, { recursive: true });
  const extra = crossCompilerArguments().map((argument) => `--extra-arg=${argument}`);
  const queue = files.filter((file) => file.endsWith('.cc'))
    .map((file) => ({ file, stamp: path.join(cache, hash(common, file, read(file))) }))
    .filter(({ stamp }) => !existsSync(stamp));
  if (queue.length > 0) say(`Running clang-tidy over ${queue.length} files`);
  const findings = [];
  await Promise.all(os.cpus().map(async () => {
    for (let next = queue.shift(); next; next = queue.shift()) {
      try {
        // The tests that run beside it come first.
        await promisify(execFile)('nice', ['clang-tidy-14', '-p', buildFolder, '--quiet', ...extra, next.file], { cwd: root });
        writeFileSync(next.stamp, '');
      } catch (error) {
        findings.push(error.stdout || error.message);
      }
    }
  }));
  return findings.length === 0 ? { passed: 1, failed: 0 } : { passed: 0, failed: 1, output: findings.join('\n') };
}

/** The results by name. On Windows the two are not required to be installed, and CI runs them on Debian. */
export async function checkStyle() {
  if (onWindows) return [];
  const files = sourceFiles();
  return [['clang-format', checkFormat(files)], ['clang-tidy', await checkTidy(files)]];
}
