// Checks of the source files: types, format, what is included where, and common mistakes.
import { execFile } from 'node:child_process';
import { createHash } from 'node:crypto';
import { existsSync, mkdirSync, readdirSync, readFileSync, writeFileSync } from 'node:fs';
import path from 'node:path';
import { promisify } from 'node:util';
import { buildFolder } from './build.mjs';
import { onWindows, root, run, say } from './shell.mjs';

const formatter = 'clang-format-14';

const sourceFiles = (...folders) => folders.flatMap((folder) => readdirSync(path.join(root, folder), { recursive: true })
  .filter((file) => /\.(cc|h)$/.test(file)).map((file) => `${folder}/${file.replaceAll('\\', '/')}`)).sort();
const formatted = () => sourceFiles('src', 'tests', 'bench');

/** Formats the C++ files in place. */
export function format() {
  run(formatter, ['-i', ...formatted()]);
}

/** What a command complains of; empty if it succeeds. The tests that run beside it come first. */
async function complaints(...command) {
  const [program, ...args] = onWindows ? command : ['nice', ...command];
  return promisify(execFile)(program, args, { cwd: root, maxBuffer: 1 << 28 })
    .then(() => '', ({ message, stdout, stderr }) => `${stdout}${stderr}` || message);
}

/** The package's types, and the scripts in tests/package/ that use them. */
const checkTypes = () => complaints(process.execPath, 'node_modules/typescript/bin/tsc', '-p', 'tests/package/tsconfig.json');

async function checkFormat() {
  const output = await complaints(formatter, '--dry-run', '-Werror', ...formatted());
  return output && `${output}\nTo format the files: npm run format`;
}

/** Node-API belongs to src/addon/ and to the handlers of the other folders; the rest knows nothing of script. */
function checkIncludes() {
  const wrong = sourceFiles('src').filter((file) => !/^src\/addon\/|\/handlers\.(cc|h)$/.test(file)
    && /^#include <(napi|node_api|js_native_api)\b/m.test(readFileSync(path.join(root, file), 'utf8')));
  return wrong.map((file) => `${file}: only src/addon/ and handlers.{h,cc} may include Node-API\n`).join('');
}

/**
 * clang-tidy over src/, by the commands of the build with Clang, which must be configured. That build compiles the sources
 * of a target as one file, because most of clang-tidy's time goes into the headers of libraries. A target in which nothing
 * was found is not looked at again until a file in src/, a compiler argument or a setting changes.
 */
async function checkTidy() {
  const read = (file) => readFileSync(path.resolve(root, file), 'utf8');
  const commands = `${buildFolder('clang')}/compile_commands.json`;
  const inputs = ['.clang-tidy', 'package-lock.json', commands, ...sourceFiles('src')];
  const common = createHash('sha256').update(inputs.map(read).join('\0')).digest('hex');
  const cache = path.join(root, 'build', 'tidy');
  mkdirSync(cache, { recursive: true });
  const waiting = JSON.parse(read(commands)).map(({ file }) => path.relative(root, file))
    .filter((file) => /^(build\/clang\/)?src\//.test(file))
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
 * The results of all checks by name, as runTestFile() gives them. `builtWithClang` resolves when that build is there. On
 * Windows, where Clang's tools are not required, CI on Debian does without them.
 */
export async function checkAll(builtWithClang) {
  const checks = { types: checkTypes(), includes: checkIncludes() };
  if (!onWindows) Object.assign(checks, { 'clang-format': checkFormat(), 'clang-tidy': builtWithClang.then(checkTidy) });
  return Promise.all(Object.entries(checks).map(async ([name, complaint]) => {
    const output = await complaint;
    return { name, passed: output ? 0 : 1, failed: output ? 1 : 0, output };
  }));
}
