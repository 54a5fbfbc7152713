// What test runs and checks have come to: a line for each, and one at the end.

const totals = { passed: 0, failed: 0 };

/** Adds one result to the totals and shows it; the output of a failed run is shown whole, and so is any with `showOutput`. */
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
