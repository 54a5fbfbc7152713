import type { ProcessListResult } from './index.js';

/**
 * Lists the running processes on a thread of its own; the promise form of the callback function of the same name. The
 * promise is never settled when the script environment ends first.
 */
export function enumProcessList(): Promise<ProcessListResult>;
