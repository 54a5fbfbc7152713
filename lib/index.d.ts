/**
 * Gets the result of a function that works on a background thread. The callback is called once, later, on the script
 * thread of the caller. Until then the call keeps the event loop alive. The callback is never called if the script
 * environment ends first, or if there is no memory left to deliver the result.
 *
 * If the callback throws, Node.js prints the warning DEP0168 and the process goes on; with the option
 * `--force-node-api-uncaught-exceptions-policy` the exception is an uncaught one.
 */
export type ResultCallback<Result> = (result: Result) => void;

/** A running process. */
export interface ProcessEntry {
  /** The process id; 0 is the idle process. */
  pid: number;
  /** The executable's file name, without its directory. */
  name: string;
}

/** The result of {@link enumProcessList}. */
export interface ProcessListResult {
  /** Every running process, in the order of Windows' snapshot; empty if Windows gives none or memory runs out. */
  list: ProcessEntry[];
}

/**
 * A string that identifies the machine and stays the same, for instance "C_0-D_S3Z9NB0K-M_001122334455-V_1A2B3C4D". Its
 * four fields are the serial number of the processor, the serial number of the disk behind drive C (of the first fixed
 * disk if that one is not fixed or has no serial number), the address of a physical network adapter, and the serial
 * number of volume C. It is plain ASCII: characters other than "-", "=", "_", letters and digits are written as hex
 * digits. It is not a hash; treat it as personal data.
 *
 * @returns the string. A field is empty ("0" for the processor) if its number cannot be found. The string is built once
 *   in a process: the first call may wait for devices for a while, without a limit; later calls return at once, in
 *   every thread. Never throws.
 */
export function getGuid(): string;

/**
 * The processor's marketing name as Windows has it, with its leading and trailing spaces.
 *
 * @returns the name, or "" if Windows has none. It is read once in a process. Never throws.
 */
export function getCpuName(): string;

/**
 * A short name of the Windows generation and, if Windows has one, a space and the label of its feature update: for
 * instance "11 23H2", "10 1909" or "10". If the manifest of the host executable does not declare support for Windows
 * 10, Windows reports itself as an older one. The manifest of Node.js' own executable declares it.
 *
 * @returns the string, never empty: "unknown" if nothing else is known. It is built once in a process. Never throws.
 */
export function getOsVersionWithReleaseId(): string;

/**
 * Whether this copy of the module runs in debug mode: it is a build with a debug period, that period is not over, and
 * Windows accepts the signature of its file. This is decided once in a process, by the first call. Calls from other
 * threads wait meanwhile.
 *
 * @returns true in debug mode. False in every release build, and whenever a check fails. Never throws.
 */
export function isDebugMode(): boolean;

/** What {@link enterStartupMask} returns. */
export interface StartupEntry {
  /**
   * True when an earlier start-up of this version never finished. When it is false, the mark of this start-up is now
   * set, if the registry could be written.
   */
  hasMask: boolean;
  /**
   * The build to fall back to: the full path of the executable of the latest build that finished its start-up. Left out
   * when `hasMask` is false and when no such build is recorded.
   */
  lastVersion?: string;
}

/** What {@link leaveStartupMask} returns; empty when the client's key cannot be opened. */
export interface StartupRecord {
  /** The full path of this build's executable, when it exists and has been recorded as the latest bootable one. */
  writeRegVersion?: string;
  /** This version, when the installer has noted a normal install of it. */
  installVersion?: string;
  /** This version, when the installer has noted a silent install of it. */
  silentVersion?: string;
  /**
   * The folder of installed builds, without a trailing backslash. Left out when the client's key cannot be opened.
   * Check it before you use it: it is only "\bin" (which path.isAbsolute() accepts) when that key has no install
   * directory. That can happen even where no client is installed, because setting a start-up mark creates the key.
   */
  deleteFolderPath?: string;
}

/** What {@link removeOldVersion} returns. */
export interface OldVersionRemoval {
  /** Whether the build's GPU preference was removed. */
  gpuPreferencesDelResult: {
    delSuccess: boolean;
    /** "Failed to open key" or "Failed to delete key"; left out on success. */
    errorText?: string;
  };
  /** Whether the build's firewall rule was removed. */
  firewallDelResult: {
    /** "BorvantaFirewall_" and the version. */
    firewallName: string;
    delSuccess: boolean;
    /** Empty on success. Otherwise the failed step, directly followed by its HRESULT as a signed decimal number. */
    errorText: string;
  };
}

/**
 * Claims the mutex that lets the client run once in a user session. The claim lasts until {@link destroyDuplicateMutex}
 * or the end of the process.
 *
 * @returns true when another instance or this process itself already holds the mutex, or when the mutex belongs to
 *   another user and access to it is denied. False when this is the first instance, and also when the mutex cannot be
 *   created for any other reason. Never throws.
 */
export function createDuplicateMutex(): boolean;

/**
 * Releases the claim of the last {@link createDuplicateMutex}. Claims of earlier calls last until the process ends.
 *
 * @returns true, even when there was nothing to release. Never throws.
 */
export function destroyDuplicateMutex(): true;

/**
 * Call it when start-up begins. It says whether an earlier start-up of this version crashed. If not, it sets a mark,
 * from which the next start-up sees whether this one crashed. A mark counts for 60 days. Setting a mark needs write
 * access to the client's keys below HKEY_LOCAL_MACHINE; without that access no mark is set. Setting it takes about one
 * millisecond, and at most five if the clock stands still or goes back.
 *
 * @returns what was found. Never throws.
 */
export function enterStartupMask(): StartupEntry;

/**
 * Call it when start-up has succeeded. It clears the mark, records this build's executable as the latest bootable one,
 * and reports the installer's notes about this version.
 *
 * @returns what was done and found; what failed is left out. Never throws.
 */
export function leaveStartupMask(): StartupRecord;

/**
 * Removes what an old build left in machine-wide Windows settings: its GPU preference and its firewall rule, each
 * independently of the other. It deletes no files. To remove the firewall rule, the process needs an administrator's
 * rights, and the calling thread must be in a COM apartment, which this function does not enter. The key of the GPU
 * preferences is opened for query only, so Windows refuses to remove the preference.
 *
 * @param path the full path of the old build's executable.
 * @param version the old build's version.
 * @returns the result of each removal. Failures are in these results, never thrown.
 * @throws TypeError "Invalid path" when `path` is not a string, else "Invalid version" when `version` is not a string.
 *   Nothing has been removed then.
 */
export function removeOldVersion(path: string, version: string): OldVersionRemoval;

/** The argument of {@link captureNativeJank}. All properties are required. */
export interface CaptureJankArgs {
  /** The process to capture; read as an unsigned 32-bit integer. */
  processId: number;
  /**
   * The stalled thread of that process, as `GetCurrentThreadId` returns it there; read as an unsigned 32-bit integer.
   * It is not the `threadId` of `worker_threads`, and Node.js has no function that returns it.
   */
  threadId: number;
  /** The kind of stall in your own words. */
  jankType: string;
  /**
   * The directory for the dump and the report. It must exist, because it is not created. It must end with a backslash,
   * because the file names are appended without a separator.
   */
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

/** The content of a report file, with the names of its members; docs/jank-report.md explains them. */
export interface JankReportFile {
  device_id: string;
  /** The dump's file name, without its directory. */
  dmp_file: string;
  duration: number;
  jank_type: string;
  living: boolean;
  log_file: string;
  main_thread_trace: string;
  system_version: string;
  /** Null when the client's value was not a finite number. */
  uptime: number | null;
  user_id: string;
  version: string;
}

/** The result of {@link captureNativeJank}. */
export interface CaptureJankResult {
  /** The report's file name without its directory; left out if no report was written. */
  jsonFilename?: string;
  dumpJankResult: {
    /**
     * Whether there is a dump: written by this capture, or by a capture that overlapped it. The other capture may have
     * been of another process, and its dump may be in another directory.
     */
    succ: boolean;
    /** Why the dump failed; left out if it did not. */
    errorText?: string;
  };
  captureStackResult: {
    /** One line "module!0xoffset" for each frame, ended by CR and LF, innermost first; left out if there is none. */
    stackTrace?: string;
    /** Why the walk of the stack failed; left out if it did not. */
    errorText?: string;
  };
  /** The last error of the capture as a whole; left out if there was none. Always present if there is no report. */
  errorText?: string;
}

/**
 * Captures a stalled thread: freezes it, writes a minidump of its process, walks its stack, lets it run again, and
 * writes a JSON report into the same directory. A background thread does this, and the call returns at once.
 *
 * Capture from another process, for instance a small helper process. A thread of the calling process may hold a lock
 * that Windows needs for the dump. If it is frozen then, the capture never ends, the captured thread never runs again,
 * and no later capture by this process ends.
 *
 * Do not end the capturing process before the callback has run: the captured thread would stay frozen.
 *
 * Captures that overlap share a dump, even if they are of different processes or write into different directories. So
 * before you capture another process, wait for the callback of the previous capture. The calling process ends if
 * Windows cannot start the thread.
 *
 * @param callback gets the result. Failures are in the result, with the texts that docs/jank-report.md lists.
 * @throws TypeError "Invalid arg" if a property is missing or of another type, or if `callback` is not a function.
 *   Nothing has been started then. An exception of a getter of `args` is passed on. A property (except
 *   `living`) whose type changes between two reads, because it has a getter, causes a TypeError with another message.
 */
export function captureNativeJank(args: CaptureJankArgs, callback: ResultCallback<CaptureJankResult>): void;

/**
 * The result of {@link getGpuUsage}. A number is a percentage of one engine's time since the previous sample. A number
 * of exactly 0 is left out. All properties of an engine kind are left out if no process uses such an engine. The object
 * is also empty when the sample only opened the counter, and when the counter cannot be read: for instance because it
 * has no English name here, because there is no PDH library, or because memory has run out. If a second sample is
 * empty too, it was not the opening.
 */
export interface GpuUsage {
  /** 3D: the GPU process. */
  gpuProc3d?: number;
  /** 3D: the native process. */
  nativeProc3d?: number;
  /** 3D: all processes on all adapters; can exceed 100. */
  sys3d?: number;
  /** 3D was read; never false. */
  has3d?: true;
  /** Video encode: the GPU process. */
  gpuProcEnc?: number;
  /** Video encode: the native process. */
  nativeProcEnc?: number;
  /** Video encode: all processes on all adapters; can exceed 100. */
  sysEnc?: number;
  /** Video encode was read; never false. */
  hasEnc?: true;
  /** Video decode: the GPU process. */
  gpuProcDec?: number;
  /** Video decode: the native process. */
  nativeProcDec?: number;
  /** Video decode: all processes on all adapters; can exceed 100. */
  sysDec?: number;
  /** Video decode was read; never false. */
  hasDec?: true;
  /** Video codec (engines that both encode and decode): the GPU process. */
  gpuProcCod?: number;
  /** Video codec: the native process. */
  nativeProcCod?: number;
  /** Video codec: all processes on all adapters; can exceed 100. */
  sysCod?: number;
  /** Video codec was read; never false. */
  hasCod?: true;
}

/**
 * Opens the GPU counter, or opens it again, on a background thread. This function returns before the counter is open.
 * The next {@link getGpuUsage} measures from the opening, unless it runs before that. A failure is not reported.
 * Without this function, the first {@link getGpuUsage} opens the counter and gives an empty object. The process ends if
 * Windows cannot start the thread.
 *
 * @returns nothing. Never throws.
 */
export function initGpuUsage(): void;

/**
 * Samples the GPU's engines on a background thread. All callers in the process share one counter: each sample measures
 * the time since the previous sample, even if another caller took that one. The process ends if Windows cannot start
 * the thread.
 *
 * @param nativePid the native process's id, read as a signed 32-bit integer. An id also counts the processes whose ids
 *   begin with its digits: 12 also counts 123.
 * @param gpuPid the GPU process's id, read in the same way; may be the same as `nativePid`.
 * @param callback gets the sample.
 * @throws TypeError "Invalid arg" if an id is not a number or `callback` is not a function. Nothing has been started
 *   then.
 */
export function getGpuUsage(nativePid: number, gpuPid: number, callback: ResultCallback<GpuUsage>): void;

/**
 * Lists the running processes on a background thread. The process ends if Windows cannot start the thread.
 *
 * @param callback gets the list.
 * @throws TypeError "Invalid arg" if `callback` is not a function. Nothing has been started then.
 */
export function enumProcessList(callback: ResultCallback<ProcessListResult>): void;
