#pragma once

#include <memory>
#include <mutex>
#include <thread>
#include <utility>

#include "win/srw_lock.h"

namespace addon {

/// Names the calling thread for debuggers and profilers. `name` is in the C library's current locale; here it is always
/// plain ASCII. SetThreadDescription gets its first 15 characters. If the system has no SetThreadDescription, this
/// function raises an exception that contains the whole `name`: older debuggers read a thread's name from such an
/// exception. A failure is not reported. Any thread.
void SetCurrentThreadName(const char* name) noexcept;

/// Starts a worker: a detached thread that names itself `threadName` (a string literal) and runs `work()`. An exception
/// that leaves `work` ends the process. Throws std::system_error if the thread cannot be started. Any thread.
template <typename Work>
void StartWorker(const char* threadName, Work work) {
  // MinGW-w64's thread library has a defect: if a thread ends while it is being detached, the next two threads share
  // one record, and one of them runs the other's work. So the new thread first takes this lock, which it gets only when
  // it has been detached.
  const auto gate = std::make_shared<win::SrwLock>();
  const std::lock_guard detaching(*gate);
  std::thread([threadName, work = std::move(work), gate]() mutable noexcept {
    {
      const std::lock_guard detached(*gate);
    }
    SetCurrentThreadName(threadName);
    work();
  }).detach();
}

}  // namespace addon
