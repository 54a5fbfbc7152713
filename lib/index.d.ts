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
 * A stable text of plain ASCII that identifies the machine: the processor's serial number, that of the disk behind drive
 * C, the address of a physical network adapter and the serial number of volume C, for instance
 * "C_0-D_S3Z9NB0K-M_001122334455-V_1A2B3C4D". Characters outside "-", "=", "_", letters and digits appear as their hex
 * digits.
 *
 * @returns the text. A fact that the machine does not tell is an empty field ("0" for the processor). Probed once per
 * process: the first call may block on devices for a while, later ones answer at once. Never throws.
 */
export function getGuid(): string;

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
 * Whether this copy of the module runs in debug mode: a build that carries a debug period, inside that period, in a file
 * whose signature the system accepts.
 *
 * @returns false in every release build, and whenever the check fails. Decided once per process. Never throws.
 */
export function isDebugMode(): boolean;

/**
 * Lists the running processes on a thread of its own.
 *
 * @param callback called once, later, with the list; never called when the script environment ends first.
 * @throws TypeError "Invalid arg" when `callback` is not a function; nothing is started then.
 */
export function enumProcessList(callback: (result: ProcessListResult) => void): void;
