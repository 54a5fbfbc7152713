// Compiled, not run. Checks what the types of the package promise and the examples of docs/ do not show.
import { enterStartupMask, enumProcessList, getGpuUsage } from 'borvanta-util';
import { enumProcessList as listProcesses, type ProcessListResult } from 'borvanta-util/promises';

export const listed: Promise<ProcessListResult> = listProcesses();

// @ts-expect-error an id is a number
getGpuUsage('1234', 5678, () => {});
// @ts-expect-error a sum may be left out
getGpuUsage(1234, 5678, ({ sysEnc }) => sysEnc.toFixed());
// @ts-expect-error the latest bootable version may be missing
enterStartupMask().lastVersion.length;
// @ts-expect-error a callback is required
enumProcessList();
