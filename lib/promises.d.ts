import type { CaptureJankArgs, CaptureJankResult, ProcessListResult } from './index.js';

/**
 * Captures a stalled thread; the promise form of the callback function of the same name. Rejects with TypeError
 * "Invalid arg" where that one throws, and is never settled when the script environment ends first. A capture that fails
 * resolves: the result says so.
 */
export function captureNativeJank(args: CaptureJankArgs): Promise<CaptureJankResult>;

/**
 * Lists the running processes on a thread of its own; the promise form of the callback function of the same name. The
 * promise is never settled when the script environment ends first.
 */
export function enumProcessList(): Promise<ProcessListResult>;
