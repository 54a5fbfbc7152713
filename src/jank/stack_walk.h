#pragma once

#include <windows.h>

#include <cstdint>
#include <string_view>

#include "jank/frozen_memory.h"

namespace jank {

struct ModuleRange {
  /// The file name without its directory, in the system's ANSI code page. Characters outside it are replaced.
  std::string_view name;
  uint64_t base;
  uint64_t size;
};

/// The modules in the order in which DbgHelp enumerates them.
struct ModuleList {
  FrozenArray<ModuleRange> ranges;
  /// The characters of all names.
  FrozenArray<char> names;
};

struct WalkMemory {
  ModuleList modules;
  FrozenArray<char> trace;

  /// False if the system refused some of it.
  explicit operator bool() const noexcept { return modules.ranges && modules.names && trace; }
};

/// DbgHelp's call-back for each module. `moduleList` is the ModuleList to fill. Always returns TRUE, so that the
/// enumeration goes on. A module for which there is no memory is left out.
BOOL CALLBACK OnLoadedModule(PCWSTR moduleName, DWORD64 moduleBase, ULONG moduleSize, PVOID moduleList);

/// Returns the stack of a thread, innermost frame first. Each frame is a line like "ntdll.dll!0x9f4a4": the module's
/// name, "!0x", the offset in that module in lower-case hexadecimal, CR and LF. For an address outside all modules the
/// name is "<unknown>" and the number is the address itself. There is no limit on the number of frames; if memory runs
/// out, the trace ends with the last line that fitted. The result lives in `memory`, which must be true and fresh.
///
/// If the stack cannot be walked, the result is empty and `errorText` says why. A walk that ends early is no error.
///
/// The caller has suspended the thread, holds the DbgHelp call lock, and has started the symbol handler for `process`.
/// No heap.
std::string_view WalkThreadStack(HANDLE process, HANDLE thread, WalkMemory& memory, std::string_view& errorText);

}  // namespace jank
