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
 * What {@link getGpuUsage} calls back with. A number is a percentage of one engine's time since the previous sample. It
 * is left out when it is exactly 0, and all of an engine kind is left out when the machine has no such engine at work in
 * any process. Empty when the machine has no GPU counters, and on the sample that only opens them.
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

/**
 * Starts the reading of the GPU counters over, on a thread of its own; the next {@link getGpuUsage} measures from here.
 * Reports nothing, not even a failure. Without it the first {@link getGpuUsage} opens the counters and is empty.
 *
 * @returns nothing, before the counters are open. Never throws.
 */
export function initGpuUsage(): void;

/**
 * Samples the GPU's engines on a thread of its own. All callers in the process share one reading: each sample measures
 * the time since the previous one, whoever took it.
 *
 * @param nativePid the native process's id, read as a signed 32-bit integer. An id also counts the processes whose ids
 *   begin with its digits: 12 counts 123 too.
 * @param gpuPid the GPU process's id, read in the same way; may be the same.
 * @param callback called once, later, with the sample; never called when the script environment ends first.
 * @throws TypeError "Invalid arg" when an id is not a number or `callback` not a function; nothing is started then.
 */
export function getGpuUsage(nativePid: number, gpuPid: number, callback: (usage: GpuUsage) => void): void;

/**
 * Lists the running processes on a thread of its own.
 *
 * @param callback called once, later, with the list; never called when the script environment ends first.
 * @throws TypeError "Invalid arg" when `callback` is not a function; nothing is started then.
 */
export function enumProcessList(callback: (result: ProcessListResult) => void): void;
