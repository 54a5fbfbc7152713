import type { CaptureJankArgs, CaptureJankResult, JankReportFile } from './index.js';

/**
 * The Windows id of this process's main script thread, as `GetCurrentThreadId` returns it. Another process can pass it
 * to captureNativeJank as `threadId`. Takes some milliseconds. Other traces of this process go on meanwhile.
 *
 * @returns a promise of the id. Rejects with code "ERR_WORKER_UNSUPPORTED_OPERATION" in a worker, and if this build of
 *   Node.js does not report the id.
 */
export function mainThreadId(): Promise<number>;

/** A frame of a stack. */
export interface Frame {
  /** The module's file name, or "<unknown>" for an address outside all modules, such as compiled script. */
  module: string;
  /** The address minus the module's address; with "<unknown>" the address itself. */
  offset: number;
}

/** A report that has been read. */
export interface JankReport extends JankReportFile {
  /** The frames of `main_thread_trace`, the innermost first. */
  frames: Frame[];
}

/**
 * Reads a report that a capture has written. Works on every system.
 *
 * @param path the report's file.
 * @returns a promise of the report. Rejects with code "ERR_INVALID_REPORT" if the file is not a complete report, with
 *   the error of the file system if it cannot be read, and with a TypeError if `path` is not a string.
 */
export function readReport(path: string): Promise<JankReport>;

/** A stall that was captured. */
export interface Jank {
  /**
   * How long the event loop had stood still when its thread was frozen, in milliseconds. When `late`: how long the
   * whole stall lasted. The true time may be longer by up to one heartbeat interval (a tenth of `thresholdMs`, at most
   * 200 ms). The report's own `duration` is smaller: it ends when captureNativeJank was called, before DbgHelp was
   * ready.
   */
  duration: number;
  /** True when the loop had turned again before the thread was frozen: the stack shows what came after the stall. */
  late: boolean;
  /** The parsed report. */
  report: JankReport;
  /** The full path of the report. */
  reportPath: string;
  /** The full path of the dump, which exists when `result.dumpJankResult.succ` is true. */
  dumpPath: string;
  /** The result of captureNativeJank. */
  result: CaptureJankResult;
}

/** An error that {@link WatchOptions.onError} gets. */
export interface WatchError extends Error {
  /**
   * "ERR_CAPTURE_FAILED": there is no report, and `result` says why. Also comes when a watcher starts, if captures of
   * this process cannot succeed. "ERR_CAPTURE_LIMIT": there had already been `maxCapturesPerHour` captures before this
   * stall. "ERR_WATCHER_ENDED": the watcher's process has ended; the message says why, and whether it is started again.
   * Errors of Node.js have other codes.
   */
  code?: string;
  /** The result of captureNativeJank. */
  result?: CaptureJankResult;
}

/**
 * Properties of captureNativeJank's argument that the watchdog passes on. Defaults: `threadId` is what
 * {@link mainThreadId} returns, `jankType` is "event-loop", `systemVersion` is what `getOsVersionWithReleaseId`
 * returns, and every other one is "".
 */
type CaptureOptions = Partial<Omit<CaptureJankArgs, 'processId' | 'janksDir' | 'living' | 'uptime' | 'duration'>>;

/** The options of {@link watchForJank}. Only `janksDir` and `onJank` are required. */
export interface WatchOptions extends CaptureOptions {
  /** The directory for dumps and reports. Created when it is missing. */
  janksDir: string;
  /** Called with each captured stall, as soon as the loop turns again. */
  onJank: (jank: Jank) => void;
  /** Called when a stall was not captured or the watcher has ended. Without it, a process warning is emitted. */
  onError?: (error: WatchError) => void;
  /** How long the loop must stand still before it is captured, in milliseconds: 100 to 3600000. Default: 1000. */
  thresholdMs?: number;
  /** How many captures there may be in any hour: 1 to 3600. Each freezes the process's main thread. Default: 10. */
  maxCapturesPerHour?: number;
  /**
   * For the report: called at each heartbeat. The report gets the last result before the stall. Default: `() => true`,
   * because a process that can be captured is alive. An exception counts as false, and becomes an uncaught exception of
   * this process.
   */
  living?: () => boolean;
  /** The executable that runs the watcher, which is a script for Node.js. Default: `process.execPath`. */
  execPath?: string;
  /** Environment variables of the watcher's process, in addition to those of this process. Default: none. */
  env?: Record<string, string | undefined>;
}

/** A running watchdog. */
export interface JankWatch {
  /** The id of the watcher's process; undefined while there is none. */
  readonly pid: number | undefined;
  /** Resolves when the watcher is ready, some seconds after the call. Awaiting it does not keep the process alive. */
  readonly ready: Promise<void>;
  /**
   * Ends the watcher. `onJank` and `onError` are not called any more. A capture that is under way is finished first.
   * The promise resolves when the watcher's process has ended: from then on nothing is frozen.
   */
  stop(): Promise<void>;
}

/**
 * Watches the event loop of this process's main thread from another process, the watcher. When the loop stands still
 * for too long, the watcher captures the thread with captureNativeJank. Call this function once, when start-up is over.
 * The watcher does not keep this process alive, and ends with it. See docs/watchdog.md.
 *
 * @throws TypeError with code "ERR_INVALID_ARG_TYPE", or RangeError with code "ERR_OUT_OF_RANGE", that names the wrong
 *   option; an error of the file system when `janksDir` cannot be created; an error with code
 *   "ERR_WORKER_UNSUPPORTED_OPERATION" in a worker; an error in a process that was started as the watcher but runs the
 *   application. Nothing has been started then.
 */
export function watchForJank(options: WatchOptions): JankWatch;
