#pragma once

#include <windows.h>

#include <dbghelp.h>

#include <cstddef>

#ifdef DBGHELP_TRANSLATE_TCHAR
#error "DBGHELP_TRANSLATE_TCHAR changes the names and the types of the table's fields."
#endif

/// The functions of the debug-help library (DbgHelp) that this process uses, and the lock around them.
///
/// Compatibility: other native code of the client reads this table by the order of its fields.
///
/// In a table that GetDbgHelpFunctions returns, SymInitialize, SymCleanup, Lock and Unlock are not null, unless other
/// code has overwritten them. Any other field is null if the loaded DbgHelp lacks that function, so check those that
/// you need.
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

  /// Enters the DbgHelp call lock. DbgHelp must not be called by two threads at once: put every call, or series of
  /// calls, between Lock and Unlock. A thread that holds the lock may enter it again.
  void (*Lock)();
  void (*Unlock)();
};

static_assert(sizeof(DbgHelpFunctions) == 11 * sizeof(void*));
static_assert(offsetof(DbgHelpFunctions, SymInitialize) == 0 * sizeof(void*));
static_assert(offsetof(DbgHelpFunctions, SymCleanup) == 1 * sizeof(void*));
static_assert(offsetof(DbgHelpFunctions, StackWalk64) == 2 * sizeof(void*));
static_assert(offsetof(DbgHelpFunctions, SymFunctionTableAccess64) == 3 * sizeof(void*));
static_assert(offsetof(DbgHelpFunctions, SymGetModuleBase64) == 4 * sizeof(void*));
static_assert(offsetof(DbgHelpFunctions, EnumerateLoadedModulesW64) == 5 * sizeof(void*));
static_assert(offsetof(DbgHelpFunctions, MiniDumpWriteDump) == 6 * sizeof(void*));
static_assert(offsetof(DbgHelpFunctions, SymRefreshModuleList) == 7 * sizeof(void*));
static_assert(offsetof(DbgHelpFunctions, SymFromAddrW) == 8 * sizeof(void*));
static_assert(offsetof(DbgHelpFunctions, Lock) == 9 * sizeof(void*));
static_assert(offsetof(DbgHelpFunctions, Unlock) == 10 * sizeof(void*));

/// Returns the process's one DbgHelp table. The first call loads DbgHelp by its bare name, in the system's search
/// order, and starts its symbol handler for this process. Later calls return the same pointer without taking a lock.
///
/// Returns null if DbgHelp cannot be loaded or its symbol handler cannot be started. A later call tries again what has
/// failed. The table belongs to this module and stays valid as long as the module is loaded. Any thread.
///
/// Other native code of the process finds this function in the module file; there is no import library:
///   const auto get = reinterpret_cast<decltype(&GetDbgHelpFunctions)>(
///       GetProcAddress(GetModuleHandleW(L"borvanta-util.node"), "GetDbgHelpFunctions"));
extern "C" __declspec(dllexport) DbgHelpFunctions* GetDbgHelpFunctions() noexcept;
