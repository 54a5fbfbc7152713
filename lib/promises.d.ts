import type { CaptureJankArgs, CaptureJankResult, GpuUsage, ProcessListResult } from './index.js';

export type { CaptureJankArgs, CaptureJankResult, GpuUsage, ProcessEntry, ProcessListResult } from './index.js';

/**
 * Captures a stalled thread; the promise form of the callback function of the same name. If a property is missing or of
 * another type, the promise rejects with a TypeError that names the property (`code: 'ERR_INVALID_ARG_TYPE'`). If the
 * capture fails, the promise resolves, and the result says why. The promise is never settled when the callback would
 * never be called.
 */
export function captureNativeJank(args: CaptureJankArgs): Promise<CaptureJankResult>;

/**
 * Samples the GPU's engines on a background thread; the promise form of the callback function of the same name. If an
 * id is not a number, the promise rejects with a TypeError that names the argument (`code: 'ERR_INVALID_ARG_TYPE'`).
 * The promise is never settled when the callback would never be called.
 */
export function getGpuUsage(nativePid: number, gpuPid: number): Promise<GpuUsage>;

/**
 * Lists the running processes on a background thread; the promise form of the callback function of the same name. The
 * promise is never settled when the callback would never be called.
 */
export function enumProcessList(): Promise<ProcessListResult>;
