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

/**
 * Lists the running processes on a thread of its own.
 *
 * @param callback called once, later, with the list; never called when the script environment ends first.
 * @throws TypeError "Invalid arg" when `callback` is not a function; nothing is started then.
 */
export function enumProcessList(callback: (result: ProcessListResult) => void): void;
