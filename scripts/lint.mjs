// npm run lint: checks types, scripts, format, includes and common mistakes, without running a test.
import { buildWithClang } from './lib/build.mjs';
import { checkAll } from './lib/checks.mjs';
import { report, reportTotals } from './lib/report.mjs';
import { ensureTools } from './lib/setup.mjs';
import { onWindows, readArguments, runMain } from './lib/shell.mjs';

await runMain(async () => {
  readArguments('npm run lint');
  ensureTools({ forTests: true });
  for (const result of await checkAll(onWindows ? undefined : buildWithClang())) report(result);
  return reportTotals();
});
