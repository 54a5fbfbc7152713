#pragma once

#include <windows.h>

namespace jank {

/// A suspended thread, resumed exactly once: by Resume(), or by the destructor on any path that does not get there.
/// False where it could not be suspended. One thread, not the suspended one; the handle must outlive it.
class ThreadSuspension {
 public:
  explicit ThreadSuspension(HANDLE thread) : thread_(thread), suspended_(SuspendThread(thread) != kFailed) {}
  ~ThreadSuspension() { Resume(); }
  ThreadSuspension(const ThreadSuspension&) = delete;
  ThreadSuspension& operator=(const ThreadSuspension&) = delete;

  explicit operator bool() const { return suspended_; }

  /// Returns whether the thread has been resumed.
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
