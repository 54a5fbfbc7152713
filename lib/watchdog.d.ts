import type { CaptureJankResult } from './index.js';

/**
 * The id of this process's main script thread, as `GetCurrentThreadId` returns it there: the `threadId` of a
 * captureNativeJank from another process. Takes some milliseconds; what this process traces meanwhile goes on.
 *
 * @returns a promise of the id. Rejects with code "ERR_WORKER_UNSUPPORTED_OPERATION" in a worker, and if this build of
 *   Node.js does not report the id.
 */
export function mainThreadId(): Promise<number>;

/** A frame of a stack. */
export interface Frame {
  /** The module's file name, or "<unknown>" for an address outside all modules, such as compiled script. */
  module: string;
  /** The address less that of the module; with "<unknown>" the address itself. */
  offset: number;
}

/** The content of a report file, with the names that the file has; docs/jank-report.md explains them. */
export interface JankReport {
  device_id: string;
  /** The dump's file name, without its directory. */
  dmp_file: string;
  duration: number;
  jank_type: string;
  living: boolean;
  log_file: string;
  main_thread_trace: string;
  system_version: string;
  /** Null when it was not a finite number. */
  uptime: number | null;
  user_id: string;
  version: string;
  /** The frames of `main_thread_trace`, the innermost first. Not in the file. */
  frames: Frame[];
}

/**
 * Reads a report that a capture has written. Works on every system.
 *
 * @param path the report's file.
 * @returns a promise of the report. Rejects with code "ERR_INVALID_REPORT" if the file is not a whole report, with the
 *   error of the file system if it cannot be read, and with a TypeError if `path` is not a string.
 */
export function readReport(path: string): Promise<JankReport>;

/** A stall that was captured. */
export interface Jank {
  /**
   * How long the event loop had stood still when its thread was frozen, in milliseconds; at most one heartbeat more (a
   * tenth of `thresholdMs`, at most 200 ms). The report's own `duration` is smaller: it is that of the moment when the
   * capture was called, before DbgHelp had made itself ready. When `late`, how long the whole stall took.
   */
  duration: number;
  /** True when the loop had turned again before the thread was frozen: the trace and the dump show what came later. */
  late: boolean;
  /** The parsed report. */
  report: JankReport;
  /** The full path of the report. */
  reportPath: string;
  /** The full path of the dump, which exists when `result.dumpJankResult.succ` is true. */
  dumpPath: string;
  /** What captureNativeJank called back with. */
  result: CaptureJankResult;
}

/** An error that {@link WatchOptions.onError} gets. */
export interface WatchError extends Error {
  /**
   * "ERR_CAPTURE_FAILED": there was no report, and `result` says why; also once at the start, when captures of this
   * process will fail. "ERR_CAPTURE_LIMIT": a stall came after `maxCapturesPerHour`. "ERR_WATCHER_ENDED": the watcher's
   * process has ended; the message says why, and whether it is started again. Errors from elsewhere have other codes.
   */
  code?: string;
  /** What captureNativeJank called back with. */
  result?: CaptureJankResult;
}

/** What {@link watchForJank} is to do. Only `janksDir` and `onJank` are required. */
export interface WatchOptions {
  /** The directory for dumps and reports. Created when it is missing. */
  janksDir: string;
  /** Called with each captured stall, once the loop turns again. */
  onJank: (jank: Jank) => void;
  /** Called when a stall was not captured or the watcher has ended. Without it, a process warning is emitted. */
  onError?: (error: WatchError) => void;
  /** How long the loop must stand still before it is captured, in milliseconds: 100 to 3600000. Default: 1000. */
  thresholdMs?: number;
  /** How many captures there may be in any hour: 1 to 3600. Each freezes the process's main thread. Default: 10. */
  maxCapturesPerHour?: number;
  /** The native id of the main thread. Default: what {@link mainThreadId} returns. */
  threadId?: number;
  /** For the report: the kind of jank. Default: "event-loop". */
  jankType?: string;
  /** For the report. Default: "". */
  userId?: string;
  /** For the report. Default: "". */
  deviceId?: string;
  /** For the report: the client's version. Default: "". */
  version?: string;
  /** For the report. Default: what `getOsVersionWithReleaseId` returns. */
  systemVersion?: string;
  /** For the report. Default: "". */
  logFilename?: string;
  /**
   * For the report: called at each heartbeat; the report gets the last result before the stall. Default: `() => true`,
   * since a process that can be captured is alive.
   */
  living?: () => boolean;
  /** The executable that runs the watcher, a script of Node.js. Default: `process.execPath`. */
  execPath?: string;
  /** Environment variables that the watcher's process has besides this process's own. Default: none. */
  env?: Record<string, string | undefined>;
}

/** A watchdog at work. */
export interface JankWatch {
  /** The id of the watcher's process; undefined while there is none. */
  readonly pid: number | undefined;
  /** Resolves when stalls are watched for, some seconds after the call. It does not keep the process alive either. */
  readonly ready: Promise<void>;
  /**
   * Ends the watcher and its calls of `onJank` and `onError`. Resolves when its process has ended: from then on nothing
   * is frozen. A capture that is under way is finished first.
   */
  stop(): Promise<void>;
}

/**
 * Watches the event loop of this process's main thread from another process. When it stands still for too long, the
 * thread is captured as by captureNativeJank. Call it once, when start-up is over. It does not keep the process alive,
 * and the watcher's process ends with this one. See docs/watchdog.md.
 *
 * @throws TypeError with code "ERR_INVALID_ARG_TYPE", or RangeError with code "ERR_OUT_OF_RANGE", that names the wrong
 *   option; an error of the file system when `janksDir` cannot be created; an error with code
 *   "ERR_WORKER_UNSUPPORTED_OPERATION" in a worker. Nothing is started then.
 */
export function watchForJank(options: WatchOptions): JankWatch;
