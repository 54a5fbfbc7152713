#pragma once

#include <future>
#include <thread>
#include <utility>

#include "addon/thread_name.h"

namespace addon {

/// Starts a detached thread that names itself `threadName` (a literal of 15 characters at most) and runs `work()`. An
/// exception that `work` lets out ends the process. Throws std::system_error when the thread cannot be started. Any
/// thread.
template <typename Work>
void StartWorker(const char* threadName, Work work) {
  // MinGW-w64's threads lose count when a thread ends while it is being detached: the next two threads then share one
  // record, and one of them runs the other's work. So none begins, and thus ends, before it is detached.
  std::promise<void> detached;
  std::thread thread([threadName, work = std::move(work), whenDetached = detached.get_future()]() mutable noexcept {
    whenDetached.wait();
    SetCurrentThreadName(threadName);
    work();
  });
  thread.detach();
  detached.set_value();
}

}  // namespace addon
