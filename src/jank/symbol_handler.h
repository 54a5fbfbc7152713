#pragma once

#include <windows.h>

#include "jank/dbghelp_functions.h"
#include "jank/dbghelp_guard.h"

namespace jank {

/// DbgHelp's symbol handler for a process, stopped by the destructor where Stop() has not been called. False where it
/// could not be started. Takes the DbgHelp call lock for each step. One thread; the process handle and the table must
/// outlive it.
class SymbolHandler {
 public:
  SymbolHandler(const DbgHelpFunctions& dbgHelp, HANDLE process) : dbgHelp_(dbgHelp), process_(process) {
    const DbgHelpGuard guard(dbgHelp_);
    started_ = dbgHelp_.SymInitialize(process_, nullptr, /*fInvadeProcess=*/TRUE) != FALSE;
  }
  ~SymbolHandler() { Stop(); }
  SymbolHandler(const SymbolHandler&) = delete;
  SymbolHandler& operator=(const SymbolHandler&) = delete;

  explicit operator bool() const { return started_; }

  /// Returns whether the handler is stopped now.
  bool Stop() {
    if (!started_) return true;
    started_ = false;
    const DbgHelpGuard guard(dbgHelp_);
    return dbgHelp_.SymCleanup(process_) != FALSE;
  }

 private:
  const DbgHelpFunctions& dbgHelp_;
  const HANDLE process_;
  bool started_ = false;
};

}  // namespace jank
