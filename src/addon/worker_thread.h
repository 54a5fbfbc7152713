#pragma once

#include <memory>
#include <mutex>
#include <thread>
#include <utility>

#include "addon/thread_name.h"
#include "win/srw_lock.h"

namespace addon {

/// Starts a detached thread that names itself `threadName` (a literal of 15 characters at most) and runs `work()`. An
/// exception that `work` lets out ends the process. Throws std::system_error when the thread cannot be started. Any
/// thread.
template <typename Work>
void StartWorker(const char* threadName, Work work) {
  // MinGW-w64's threads lose count when a thread ends while it is being detached: the next two threads then share one
  // record, and one of them runs the other's work. So none begins, and thus ends, before it is detached.
  const auto gate = std::make_shared<win::SrwLock>();
  const std::lock_guard detaching(*gate);
  std::thread([threadName, work = std::move(work), gate]() mutable noexcept {
    { const std::lock_guard detached(*gate); }
    SetCurrentThreadName(threadName);
    work();
  }).detach();
}

}  // namespace addon
