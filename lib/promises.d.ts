import type { CaptureJankArgs, CaptureJankResult, GpuUsage, ProcessListResult } from './index.js';

/**
 * Captures a stalled thread; the promise form of the callback function of the same name. Rejects with TypeError
 * "Invalid arg" where that function throws. A capture that fails resolves: its result says why. The promise is never
 * settled if the script environment ends first.
 */
export function captureNativeJank(args: CaptureJankArgs): Promise<CaptureJankResult>;

/**
 * Samples the GPU's engines on a thread of its own; the promise form of the callback function of the same name. Rejects
 * with TypeError "Invalid arg" when an id is not a number. The promise is never settled when the script environment ends
 * first.
 */
export function getGpuUsage(nativePid: number, gpuPid: number): Promise<GpuUsage>;

/**
 * Lists the running processes on a thread of its own; the promise form of the callback function of the same name. The
 * promise is never settled when the script environment ends first.
 */
export function enumProcessList(): Promise<ProcessListResult>;
