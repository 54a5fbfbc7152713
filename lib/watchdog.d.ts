import type { CaptureJankArgs, CaptureJankResult, JankReportFile } from './index.js';

/**
 * The Windows id of this process's main script thread, as `GetCurrentThreadId` returns it. Another process can pass it
 * to captureNativeJank as `threadId`. Takes some milliseconds. Other traces of this process go on meanwhile.
 *
 * @returns a promise of the id. Rejects in a script worker (code "ERR_WORKER_UNSUPPORTED_OPERATION"), where the
 *   inspector is missing or denied (`--permission`), and if this build of Node.js does not report the id.
 */
export function mainThreadId(): Promise<number>;

/** A frame of a stack. */
export interface Frame {
  /** The module's file name, or "<unknown>" for an address outside all modules, such as compiled script. */
  module: string;
  /** The address minus the module's address; with "<unknown>" the address itself. */
  offset: number;
  /**
   * The function's name, as the module exports it. Only there if it is certain. Where the linker has merged functions
   * with the same code, it can be the name of another one of them.
   */
  function?: string;
}

/** A frame of the script stack. */
export interface ScriptFrame {
  /** The function's name; "" if it has none. */
  function: string;
  /** The script's address, or its path. */
  url: string;
  /** The line, from 1. */
  line: number;
  /** The column, from 1. */
  column: number;
}

/** A report that has been read. */
export interface JankReport extends JankReportFile {
  /** The frames of `main_thread_trace`, the innermost first. */
  frames: Frame[];
}

/**
 * Reads a report that a capture has written. Works on every system. Names functions if the dump lies beside the report,
 * both have the names that the capture gave them, and the modules that the dump lists are on this machine and have not
 * changed: so on Windows only. It is not an error if names cannot be found.
 *
 * @param path the report's file.
 * @returns a promise of the report. Rejects with code "ERR_INVALID_REPORT" if the file is not a complete report, with
 *   the error of the file system if it cannot be read, and with a TypeError if `path` is not a string.
 */
export function readReport(path: string): Promise<JankReport>;

/** A stall that was captured, as {@link readStalls} finds it again. */
export interface Stall {
  /** When the stall began: an ISO date in UTC. Left out if the stall has no record. */
  since?: string;
  /**
   * How long the whole stall lasted, in milliseconds, counted from the first heartbeat that did not come. The true time
   * may be longer by up to one heartbeat interval (a fifth of `thresholdMs`, at most 200 ms). Left out
   * if the loop never turned again, and if the stall has no record.
   */
  stallMs?: number;
  /**
   * How long after the beginning of the stall the thread was frozen, in milliseconds. The report's own `duration` is
   * smaller: it ends when captureNativeJank was called, before DbgHelp was ready. Without a record: the `duration`.
   */
  frozenAfterMs: number;
  /**
   * True when the loop had turned again before the thread was frozen: the native stack shows what came after the stall.
   */
  late: boolean;
  /** The script stack, the innermost function first, at most fifty; empty if none could be had. */
  scriptFrames: ScriptFrame[];
  /**
   * True when the thread answered only after some time, mostly because it ran native code: then the frames show where
   * it came back to script. That is the function that had made the call, if this function did anything else afterwards.
   */
  scriptFramesLate: boolean;
  /** The parsed report. */
  report: JankReport;
  /** The full path of the report. */
  reportPath: string;
  /** The full path of the dump. The file is missing if the dump failed. */
  dumpPath: string;
}

/** What {@link WatchOptions.onJank} gets. */
export interface Jank extends Stall {
  /** The result of captureNativeJank; there is a dump when `result.dumpJankResult.succ` is true. */
  result: CaptureJankResult;
}

/** What {@link readStalls} finds in a folder. */
export interface StallsOfFolder {
  /** The stalls, the oldest first. */
  stalls: Stall[];
  /**
   * The files that could not be used, with the reason. A report: "ERR_INVALID_REPORT". The record of a stall, which is
   * then in `stalls` as if it had no record: "ERR_INVALID_RECORD". A dump or a record without a report, for example
   * because the capture failed or has not ended: "ERR_NO_REPORT". Errors of the file system have other codes.
   */
  unreadable: { path: string; error: Error & { code?: string } }[];
}

/**
 * Reads all stalls of a folder: from their reports, and from the records that the watchdog writes beside them. Without
 * a record, `frozenAfterMs` is the report's `duration`, `late` is false, and there is no script stack. Works on every
 * system.
 *
 * Files of other kinds are not opened. A file that cannot be read does not hide the others. Nothing is deleted.
 *
 * @param janksDir the folder. One that does not exist has no stalls.
 * @returns a promise. Rejects with the error of the file system if the folder cannot be read, and with a TypeError if
 *   `janksDir` is not a string.
 */
export function readStalls(janksDir: string): Promise<StallsOfFolder>;

/**
 * Deletes the report and the record of a stall, and its dump if no other report in the folder names that dump. Files
 * that do not exist any more are no error. The report goes last: if something cannot be deleted, {@link readStalls}
 * finds the stall again.
 *
 * @param stall only its `reportPath` is used; the other files have names that follow from it.
 * @returns a promise. Rejects with the error of the file system, and with a TypeError if `stall.reportPath` is not a
 *   path that captures give to reports; nothing has been deleted then.
 */
export function removeStall(stall: Pick<Stall, 'reportPath'>): Promise<void>;

/**
 * A stall in some ten lines of text: how long, since when, the innermost frames of both stacks, and where the dump is.
 * Characters that are not visible, such as terminal escapes, are shown as `\u{...}`, and long values are cut.
 *
 * @returns the lines, without a line break at the end.
 * @throws TypeError if `stall` or its report is not an object.
 */
export function formatStall(stall: Stall | Jank): string;

/** Why there is an error. */
export type WatchErrorCode =
  /** There is no report; `result`, if there is one, says why. Also comes at the start, if no capture can succeed. */
  | 'ERR_CAPTURE_FAILED'
  /** There had already been `maxCapturesPerHour` captures before this stall. */
  | 'ERR_CAPTURE_LIMIT'
  /** The stall was over before it could be captured. */
  | 'ERR_STALL_OVER'
  /** The record of a stall could not be written. */
  | 'ERR_RECORD_FAILED'
  /** The script worker that reads script stacks has ended: there are none from now on. */
  | 'ERR_SCRIPT_STACK_ENDED'
  /** `threadId` is not the id that Node.js reports for the main thread; it is used all the same. Comes at the start. */
  | 'ERR_WRONG_THREAD'
  /** The watcher has ended or cannot be started; the message says why, and whether it is started again. */
  | 'ERR_WATCHER_ENDED';

/** An error of the watchdog. It says what is known of a stall that was not captured. */
export interface WatchError extends Error,
  Partial<Pick<Stall, 'since' | 'stallMs' | 'scriptFrames' | 'scriptFramesLate'>> {
  code: WatchErrorCode;
  /** The result of captureNativeJank. */
  result?: CaptureJankResult;
}

/**
 * Properties of captureNativeJank's argument that the watchdog passes on. Defaults: `threadId` is what
 * {@link mainThreadId} returns, `jankType` is "event-loop", `systemVersion` is what `getOsVersionWithReleaseId`
 * returns, and every other one is "".
 */
type CaptureOptions = {
  [Name in Exclude<keyof CaptureJankArgs, 'processId' | 'janksDir' | 'living' | 'uptime' | 'duration'>]?:
    CaptureJankArgs[Name] | undefined;
};

/** The options of {@link watchForJank}. Only `janksDir` and `onJank` are required. */
export interface WatchOptions extends CaptureOptions {
  /** The directory for dumps and reports. Created when it is missing. */
  janksDir: string;
  /**
   * Called with each captured stall when it is over. May be asynchronous: `onError` gets what it rejects with. What it
   * throws is an uncaught exception of this process.
   */
  onJank: (jank: Jank) => unknown;
  /**
   * Called with a {@link WatchError} when a stall was not captured or the watcher has ended, and with what `onJank`
   * rejects with, which has no `code` of {@link WatchErrorCode}. Without it, a process warning is emitted.
   */
  onError?: ((error: WatchError) => void) | undefined;
  /** How long the loop must stand still before it is captured, in milliseconds: 100 to 3600000. Default: 1000. */
  thresholdMs?: number | undefined;
  /** How many captures there may be in any hour: 1 to 3600. Each freezes the process's main thread. Default: 10. */
  maxCapturesPerHour?: number | undefined;
  /**
   * For the report: called at each heartbeat. The report gets the last result before the stall. Default: `() => true`,
   * because a process that can be captured is alive. An exception counts as false, and becomes an uncaught exception of
   * this process.
   */
  living?: (() => boolean) | undefined;
  /** The executable that runs the watcher, which is a script for Node.js. Default: `process.execPath`. */
  execPath?: string | undefined;
  /** Environment variables of the watcher's process, in addition to those of this process. Default: none. */
  env?: Record<string, string | undefined> | undefined;
  /** Whether the script stack of each stall is read, with a script worker in this process. Default: true. */
  scriptStack?: boolean | undefined;
  /**
   * How long the watcher may take until it is ready, in milliseconds: 1000 to 3600000. After that it is ended, because
   * `execPath` does not seem to run its script, and not started again. Default: 30000.
   */
  startTimeoutMs?: number | undefined;
  /** Stops the watch when it is aborted. */
  signal?: AbortSignal | undefined;
}

/** A running watchdog. */
export interface JankWatch {
  /** The id of the watcher's process; undefined while there is none. */
  readonly pid: number | undefined;
  /**
   * Resolves when the watcher is ready, some seconds after the call. Rejects with code "ERR_WATCHER_ENDED" after
   * stop(), and when no watcher can be started. Reading this property keeps the process alive until then.
   */
  readonly ready: Promise<void>;
  /**
   * Ends the watcher. `onJank` and `onError` are not called any more. A capture that is under way is finished first.
   * The promise resolves when the watcher's process has ended: from then on nothing is frozen.
   */
  stop(): Promise<void>;
  /** The same as stop(), for `await using` (Node.js 24 and later, or TypeScript). Missing in Node.js before 18.18. */
  [Symbol.asyncDispose](): Promise<void>;
}

/**
 * Watches the event loop of this process's main thread from another process, the watcher. When the loop stands still
 * for too long, the watcher captures the thread with captureNativeJank. Call this function once, when start-up is over.
 * The watcher does not keep this process alive, and ends with it. See docs/watchdog.md.
 *
 * @throws TypeError with code "ERR_INVALID_ARG_TYPE" or "ERR_INVALID_ARG_VALUE", or RangeError with code
 *   "ERR_OUT_OF_RANGE", that names the wrong option; an error of the file system when `janksDir` cannot be created or
 *   written to; an error with code "ERR_FOLDER_IN_USE" when another watch of this process has the same `janksDir`; an
 *   error with code "ERR_WORKER_UNSUPPORTED_OPERATION" in a script worker; an error with code "MODULE_NOT_FOUND" in a
 *   bundle; an error with code "ERR_FEATURE_UNAVAILABLE_ON_PLATFORM" on other systems than Windows; the errors of
 *   require('borvanta-util') when the module cannot be loaded; an error in a process that was started as the watcher
 *   but runs the application. Nothing has been started then.
 */
export function watchForJank(options: WatchOptions): JankWatch;
