#pragma once

#include <windows.h>

#include <cstdint>
#include <memory_resource>
#include <string>
#include <vector>

namespace jank {

/// A loaded module of the target process.
struct ModuleRange {
  /// The file name without its directory, in the system's ANSI code page; characters outside it are replaced.
  std::pmr::string name;
  uint64_t base;
  uint64_t size;
};

/// In the order in which DbgHelp enumerates them. Lives in memory that is not the process heap.
using ModuleList = std::pmr::vector<ModuleRange>;

/// Appends one frame's line to `trace`: module name, "!0x", the offset in that module in lower-case hexadecimal, CR and
/// LF. An address that no module holds stands as it is behind "<unknown>". Both containers live in a FrozenMemory;
/// false when that does not suffice for the line.
bool AppendFrame(std::pmr::string& trace, const ModuleList& modules, uint64_t programCounter);

/// DbgHelp's call-back for each module; `moduleList` is the ModuleList being filled, whose memory resource must be a
/// FrozenMemory. Always lets the enumeration go on; a module for which memory does not suffice is left out.
BOOL CALLBACK OnLoadedModule(PCWSTR moduleName, DWORD64 moduleBase, ULONG moduleSize, PVOID moduleList);

/// The stack of a thread as text, one line a frame (see AppendFrame), innermost first, without a limit on their number.
/// Empty, with the reason in `errorText`, when it cannot be walked; a walk that ends early is no error.
/// Where memory runs out (a gibibyte is reserved, but the system may refuse it), the trace is cut, and modules are left
/// out.
///
/// The caller has suspended the thread, holds the DbgHelp call lock, and has started the symbol handler for `process`.
/// Takes all memory, that of the result included, from the memory resource of `errorText`, which must be a
/// FrozenMemory.
std::pmr::string WalkThreadStack(HANDLE process, HANDLE thread, std::pmr::string& errorText);

}  // namespace jank
