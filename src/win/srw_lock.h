#pragma once

#include <windows.h>

namespace win {

/// A lock for std::lock_guard that cannot fail and allocates no memory. std::mutex may throw, and some standard
/// libraries allocate memory for it at its first use. Not re-entrant. Any thread.
class SrwLock {
 public:
  constexpr SrwLock() noexcept = default;
  SrwLock(const SrwLock&) = delete;
  SrwLock& operator=(const SrwLock&) = delete;

  void lock() noexcept { AcquireSRWLockExclusive(&lock_); }
  void unlock() noexcept { ReleaseSRWLockExclusive(&lock_); }

 private:
  SRWLOCK lock_ = SRWLOCK_INIT;
};

}  // namespace win
