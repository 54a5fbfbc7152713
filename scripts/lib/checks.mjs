// Checks of the source files: types, format, what is included where, and common mistakes in C++ and in scripts.
import { execFile } from 'node:child_process';
import { createHash } from 'node:crypto';
import { existsSync, mkdirSync, readdirSync, readFileSync, writeFileSync } from 'node:fs';
import path from 'node:path';
import { promisify } from 'node:util';
import { buildFolder } from './build.mjs';
import { onWindows, root, run, say } from './shell.mjs';

const formatter = 'clang-format-19';

const sourceFiles = (...folders) => folders
  .flatMap((folder) => readdirSync(path.join(root, folder), { recursive: true })
    .filter((file) => /\.(cc|h)$/.test(file)).map((file) => `${folder}/${file.replaceAll('\\', '/')}`)).sort();
const formatted = () => sourceFiles('src', 'tests', 'bench');

/** Formats the C++ files in place. */
export function format() {
  run(formatter, ['-i', ...formatted()]);
}

/** What a failing command prints; empty if it succeeds. Runs at a low priority, because tests run at the same time. */
async function complaints(...command) {
  const [program, ...args] = onWindows ? command : ['nice', ...command];
  return promisify(execFile)(program, args, { cwd: root, maxBuffer: 1 << 28 })
    .then(() => '', ({ message, stdout, stderr }) => `${stdout}${stderr}` || message);
}

/** A tool of npm, run by this Node.js. */
const npmTool = (file, ...args) => complaints(process.execPath, path.join('node_modules', file), ...args);

/**
 * The types in the scripts of the package (tsconfig.json); its type files, and the scripts that use them. What has not
 * changed since the last time is not checked again.
 */
const checkTypes = async () => (await Promise.all(Object.entries({ package: '.', uses: 'tests/package' })
  .map(([name, project]) => npmTool('typescript/bin/tsc', '-p', project, '--incremental', '--tsBuildInfoFile',
    `build/types/${name}`)))).join('');

/** All scripts, by the recommended rules (eslint.config.mjs). */
const checkScripts = () => (
  npmTool('eslint/bin/eslint.js', '--max-warnings=0', '--cache', '--cache-location', 'build/eslint/', '.'));

async function checkFormat() {
  const output = await complaints(formatter, '--dry-run', '-Werror', ...formatted());
  return output && `${output}\nTo format the files: npm run format`;
}

/** Only src/addon/ and the handlers of the other folders may use Node-API. */
function checkIncludes() {
  const wrong = sourceFiles('src').filter((file) => !/^src\/addon\/|\/handlers\.(cc|h)$/.test(file)
    && /^#include <(napi|node_api|js_native_api)\b/m.test(readFileSync(path.join(root, file), 'utf8')));
  return wrong.map((file) => `${file}: only src/addon/ and handlers.{h,cc} may include Node-API\n`).join('');
}

/**
 * Runs clang-tidy over src/ with the compiler commands of the Clang build, which must be configured. That build
 * compiles all sources of a target as one file, because clang-tidy spends most of its time in the headers of libraries.
 * If clang-tidy finds nothing in a target, that target is not checked again until a file in src/, a compiler argument
 * or a setting changes.
 */
async function checkTidy() {
  const read = (file) => readFileSync(path.resolve(root, file), 'utf8');
  const commands = `${buildFolder('clang')}/compile_commands.json`;
  const inputs = ['.clang-tidy', 'package-lock.json', commands, ...sourceFiles('src')];
  const common = createHash('sha256').update(inputs.map(read).join('\0')).digest('hex');
  const cache = path.join(root, 'build', 'tidy');
  mkdirSync(cache, { recursive: true });
  const waiting = JSON.parse(read(commands)).map(({ file }) => path.relative(root, file))
    .filter((file) => /^(build\/clang\/)?src\/.*\.(cc|cxx)$/.test(file))
    .map((file) => ({ file, stamp: path.join(cache, `${common}-${file.replaceAll('/', '-')}`) }))
    .filter(({ stamp }) => !existsSync(stamp));
  if (waiting.length > 0) say('Running clang-tidy');
  const findings = await Promise.all(waiting.map(async ({ file, stamp }) => {
    const output = await complaints('clang-tidy-19', '-p', buildFolder('clang'), '--quiet', file);
    if (!output) writeFileSync(stamp, '');
    return output;
  }));
  return findings.join('');
}

/**
 * The results of all checks, each with its name, in the form of runTestFile(). `builtWithClang` resolves when the Clang
 * build is ready. On Windows the checks that need Clang's tools are left out: CI runs them on Debian.
 */
export async function checkAll(builtWithClang) {
  const checks = { types: checkTypes(), eslint: checkScripts(), includes: checkIncludes() };
  if (!onWindows) {
    Object.assign(checks, { 'clang-format': checkFormat(), 'clang-tidy': builtWithClang.then(checkTidy) });
  }
  return Promise.all(Object.entries(checks).map(async ([name, complaint]) => {
    const output = await complaint;
    return { name, passed: output ? 0 : 1, failed: output ? 1 : 0, output };
  }));
}
