#pragma once

#include "jank/dbghelp_functions.h"

namespace jank {

/// Holds the DbgHelp call lock of a table as long as it lives. Any thread.
class DbgHelpGuard {
 public:
  explicit DbgHelpGuard(const DbgHelpFunctions& dbgHelp) : dbgHelp_(dbgHelp) { dbgHelp_.Lock(); }
  ~DbgHelpGuard() { dbgHelp_.Unlock(); }
  DbgHelpGuard(const DbgHelpGuard&) = delete;
  DbgHelpGuard& operator=(const DbgHelpGuard&) = delete;

 private:
  const DbgHelpFunctions& dbgHelp_;
};

}  // namespace jank
