// Prints the results of test runs and checks: a line for each, and a last line with the totals.

const totals = { passed: 0, failed: 0 };

/** Adds one result to the totals and shows it. Shows also the whole output if the run failed, or with `showOutput`. */
export function report({ name, passed, failed, skipped = 0, output, seconds }, showOutput = false) {
  totals.passed += passed;
  totals.failed += failed;
  const others = skipped ? `, ${skipped} skipped` : '';
  const time = seconds === undefined ? '' : ` (${seconds.toFixed(1)} s)`;
  console.log(`${failed ? 'FAILED' : 'ok    '} ${name}: ${passed} passed, ${failed} failed${others}${time}`);
  if (failed || showOutput) console.log(output);
}

/** Shows the totals and returns the exit code: 0 only if something passed and nothing failed. */
export function reportTotals() {
  console.log(`\n${totals.passed} passed, ${totals.failed} failed`);
  return totals.failed === 0 && totals.passed > 0 ? 0 : 1;
}
