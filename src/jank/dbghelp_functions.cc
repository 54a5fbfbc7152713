#include "jank/dbghelp_functions.h"

#include <atomic>
#include <mutex>
#include <type_traits>

#include "win/get_function.h"

namespace {

/// How many times SymInitialize is tried if the list of modules changes while it runs.
constexpr unsigned kSymInitializeAttempts = 3;

/// STATUS_INFO_LENGTH_MISMATCH, as GetLastError reports it.
constexpr DWORD kModuleListChanged = 0xC0000004;

// These objects live as long as the module. DbgHelp is never unloaded, its symbol handler for this process is never
// stopped, and the locks are never deleted, because other native code may use them until the process ends.
DbgHelpFunctions table;
CRITICAL_SECTION callLock;
HMODULE library = nullptr;
bool ownSymbolsStarted = false;
DWORD lastSymbolError = ERROR_SUCCESS;
std::atomic<bool> ready = false;

/// Lets one thread at a time set up the table. Re-entrant, because loading DbgHelp runs foreign code, which may ask for
/// the table. Cannot throw, because the callers are foreign code too.
class LoaderLock {
 public:
  LoaderLock() noexcept { InitializeCriticalSection(&section_); }
  void lock() noexcept { EnterCriticalSection(&section_); }
  void unlock() noexcept { LeaveCriticalSection(&section_); }

 private:
  CRITICAL_SECTION section_;
};

LoaderLock loaderLock;

void EnterCallLock() {
  EnterCriticalSection(&callLock);
}

void LeaveCallLock() {
  LeaveCriticalSection(&callLock);
}

/// Loads DbgHelp and fills the table. If DbgHelp lacks a function, the function's field stays null, which is no error
/// here.
bool LoadDbgHelp() {
  library = LoadLibraryW(L"DbgHelp");
  if (!library) return false;
  // If foreign code called GetDbgHelpFunctions while DbgHelp was loading, the table is filled already, and its lock
  // may be held.
  if (table.Lock) return true;
  const auto resolve = [](auto& field, const char* name) {
    field = win::GetFunction<std::remove_reference_t<decltype(field)>>(library, name);
  };
  resolve(table.SymInitialize, "SymInitialize");
  resolve(table.SymCleanup, "SymCleanup");
  resolve(table.StackWalk64, "StackWalk64");
  resolve(table.SymFunctionTableAccess64, "SymFunctionTableAccess64");
  resolve(table.SymGetModuleBase64, "SymGetModuleBase64");
  resolve(table.EnumerateLoadedModulesW64, "EnumerateLoadedModulesW64");
  resolve(table.MiniDumpWriteDump, "MiniDumpWriteDump");
  resolve(table.SymRefreshModuleList, "SymRefreshModuleList");
  resolve(table.SymFromAddrW, "SymFromAddrW");
  InitializeCriticalSection(&callLock);
  table.Lock = &EnterCallLock;
  table.Unlock = &LeaveCallLock;
  return true;
}

/// Starts the symbol handler. Tries again at once if the list of modules has changed meanwhile.
bool StartSymbolsRetrying(HANDLE process) {
  for (unsigned attempt = 0; attempt < kSymInitializeAttempts; ++attempt) {
    if (table.SymInitialize(process, nullptr, /*fInvadeProcess=*/TRUE)) {
      ownSymbolsStarted = true;
      return true;
    }
    lastSymbolError = GetLastError();
    if (lastSymbolError != kModuleListChanged) return false;
  }
  return false;
}

bool StartOwnSymbols() {
  const HANDLE process = GetCurrentProcess();
  if (StartSymbolsRetrying(process)) return true;
  // DbgHelp reports this error if other code has started the handler for this process already.
  if (lastSymbolError != ERROR_INVALID_PARAMETER) return false;
  table.SymCleanup(process);
  return StartSymbolsRetrying(process);
}

}  // namespace

extern "C" DbgHelpFunctions* GetDbgHelpFunctions() noexcept {
  if (ready) return &table;
  const std::lock_guard lock(loaderLock);
  if (!ready) {
    if (!library && !LoadDbgHelp()) return nullptr;
    if (!table.SymInitialize || !table.SymCleanup) return nullptr;
    if (!ownSymbolsStarted && !StartOwnSymbols()) return nullptr;
    ready = true;
  }
  return &table;
}
