/** A running process. */
export interface ProcessEntry {
  /** The process id; 0 is the idle process. */
  pid: number;
  /** The executable's file name, without its directory. */
  name: string;
}

/** What {@link enumProcessList} calls back with. */
export interface ProcessListResult {
  /** Every running process in the order of the system's snapshot; empty when the system gave none. */
  list: ProcessEntry[];
}

/**
 * The processor's marketing name as Windows keeps it, leading and trailing blanks included.
 *
 * @returns the name, or "" when Windows has none. Read once per process. Never throws.
 */
export function getCpuName(): string;

/**
 * A short name of the Windows generation, and after a blank the label of its feature update where it has one: "11 23H2",
 * "10 1909" or "10".
 *
 * @returns the text, never empty ("unknown" at least). Found out once per process. Never throws.
 */
export function getOsVersionWithReleaseId(): string;

/** What {@link captureNativeJank} captures, and what its report says besides. All properties are required. */
export interface CaptureJankArgs {
  /** The process to capture; read as an unsigned 32-bit integer. */
  processId: number;
  /** Its stalled thread, a native thread id; read as an unsigned 32-bit integer. */
  threadId: number;
  /** The kind of jank in your own words. */
  jankType: string;
  /** The directory for dump and report. Must end with a backslash: it is used as a prefix as it stands. */
  janksDir: string;
  userId: string;
  deviceId: string;
  version: string;
  systemVersion: string;
  logFilename: string;
  living: boolean;
  uptime: number;
  /** Read as an unsigned 32-bit integer. */
  duration: number;
}

/** What {@link captureNativeJank} calls back with. */
export interface CaptureJankResult {
  /** The report's file name without its directory; left out when no report was written. */
  jsonFilename?: string;
  dumpJankResult: {
    /** Whether a dump exists: written by this capture, or shared with one that overlapped it. */
    succ: boolean;
    /** Why the dump failed; left out when it did not. */
    errorText?: string;
  };
  captureStackResult: {
    /** One "module!0xoffset" line a frame, each ended by CR and LF, innermost first; left out when there is none. */
    stackTrace?: string;
    /** Why the walk failed; left out when it did not. */
    errorText?: string;
  };
  /** The last error of the capture as a whole; left out when there was none. */
  errorText?: string;
}

/**
 * Captures a stalled thread on a thread of its own: freezes it, writes a minidump of its process, walks its stack, lets
 * it run again, and writes a JSON report beside the dump.
 *
 * @param callback called once, later, whatever became of the capture: its failures are in the result. Never called when
 *   the script environment ends first.
 * @throws TypeError "Invalid arg" when a property is missing or of another type, or `callback` is not a function; nothing
 *   is started then. What a getter of `args` throws is thrown on.
 */
export function captureNativeJank(args: CaptureJankArgs, callback: (result: CaptureJankResult) => void): void;

/**
 * Lists the running processes on a thread of its own.
 *
 * @param callback called once, later, with the list; never called when the script environment ends first.
 * @throws TypeError "Invalid arg" when `callback` is not a function; nothing is started then.
 */
export function enumProcessList(callback: (result: ProcessListResult) => void): void;
