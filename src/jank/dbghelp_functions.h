#pragma once

#include <windows.h>

#include <dbghelp.h>

#ifdef DBGHELP_TRANSLATE_TCHAR
#error "DBGHELP_TRANSLATE_TCHAR changes the names and the types of the table's fields."
#endif

/// The entry points of the debug-help library (DbgHelp) that this process uses, and the lock that serialises them.
///
/// Other native code of the client reads this table too: the order and the size of its fields are an interface, and
/// stay as they are. In a table that GetDbgHelpFunctions hands out, SymInitialize, SymCleanup, Lock and Unlock are
/// never null; any other field is null when the loaded DbgHelp lacks that function, so check those that you need.
struct DbgHelpFunctions {
  decltype(&::SymInitialize) SymInitialize;
  decltype(&::SymCleanup) SymCleanup;
  decltype(&::StackWalk64) StackWalk64;
  decltype(&::SymFunctionTableAccess64) SymFunctionTableAccess64;
  decltype(&::SymGetModuleBase64) SymGetModuleBase64;
  decltype(&::EnumerateLoadedModulesW64) EnumerateLoadedModulesW64;
  decltype(&::MiniDumpWriteDump) MiniDumpWriteDump;
  decltype(&::SymRefreshModuleList) SymRefreshModuleList;
  decltype(&::SymFromAddrW) SymFromAddrW;

  /// Enters the DbgHelp call lock. DbgHelp must not be called by two threads at once: bracket every call, or run of
  /// calls, with Lock and Unlock. A thread that holds the lock may enter it again.
  void (*Lock)();

  /// Leaves the DbgHelp call lock.
  void (*Unlock)();
};

static_assert(sizeof(DbgHelpFunctions) == 11 * sizeof(void*));

/// The process's one DbgHelp table. The first call loads DbgHelp by its bare name, in the system's search order, and
/// starts its symbol handler for this process; later calls return the same pointer without taking a lock.
///
/// Returns null when DbgHelp cannot be loaded or its symbol handler cannot be started; a later call tries again what
/// has failed. A table stays valid as long as this module is loaded, and belongs to the module. Any thread.
///
/// Other native code of the process finds this function in the module file; there is no import library:
///   const auto get = reinterpret_cast<decltype(&GetDbgHelpFunctions)>(
///       GetProcAddress(GetModuleHandleW(L"borvanta-util.node"), "GetDbgHelpFunctions"));
extern "C" __declspec(dllexport) DbgHelpFunctions* GetDbgHelpFunctions() noexcept;
