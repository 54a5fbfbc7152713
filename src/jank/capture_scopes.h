#pragma once

#include <windows.h>

#include "jank/dbghelp_functions.h"

// Each of these objects starts something that a capture must undo on every path; its destructor undoes it. The
// functions, the process and the thread that are passed to its constructor must outlive it. One thread.

namespace jank {

class DbgHelpGuard {
 public:
  explicit DbgHelpGuard(const DbgHelpFunctions& dbgHelp) : dbgHelp_(dbgHelp) { dbgHelp_.Lock(); }
  ~DbgHelpGuard() { dbgHelp_.Unlock(); }
  DbgHelpGuard(const DbgHelpGuard&) = delete;
  DbgHelpGuard& operator=(const DbgHelpGuard&) = delete;

 private:
  const DbgHelpFunctions& dbgHelp_;
};

/// DbgHelp's symbol handler for a process. False if it could not be started. Takes the DbgHelp call lock to start and
/// to stop it.
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

  /// Stops the handler before the destructor does. Returns false if DbgHelp refuses it.
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

/// Suspends a thread, which must not be the calling one. It is resumed exactly once. False if it could not be
/// suspended.
class ThreadSuspension {
 public:
  explicit ThreadSuspension(HANDLE thread) : thread_(thread), suspended_(SuspendThread(thread) != kFailed) {}
  ~ThreadSuspension() { Resume(); }
  ThreadSuspension(const ThreadSuspension&) = delete;
  ThreadSuspension& operator=(const ThreadSuspension&) = delete;

  explicit operator bool() const { return suspended_; }

  /// Resumes the thread before the destructor does. Returns false if Windows refuses it.
  bool Resume() {
    if (!suspended_) return true;
    suspended_ = false;
    return ResumeThread(thread_) != kFailed;
  }

 private:
  static constexpr DWORD kFailed = 0xFFFFFFFF;

  const HANDLE thread_;
  bool suspended_;
};

}  // namespace jank
