// Compiled, not run: the package's types under ES modules, found by the package's name.
import { enumProcessList, getCpuName, type ProcessEntry } from 'borvanta-util';
import * as promises from 'borvanta-util/promises';

const name: string = getCpuName();
const { list } = await promises.enumProcessList();
const first: ProcessEntry | undefined = list[0];
enumProcessList((result) => result.list.concat(list));

// @ts-expect-error the callback gets one argument
enumProcessList((error, result) => result);
// @ts-expect-error the promise form takes no callback
promises.enumProcessList(() => {});

export { first, name };
