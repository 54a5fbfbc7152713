#pragma once

#include <thread>
#include <utility>

#include "addon/thread_name.h"

namespace addon {

/// Starts a detached thread that names itself `threadName` (a literal of 15 characters at most) and runs `work()`. An
/// exception that `work` lets out ends the process. Throws std::system_error when the thread cannot be started. Any
/// thread.
template <typename Work>
void StartWorker(const char* threadName, Work work) {
  std::thread([threadName, work = std::move(work)]() mutable noexcept {
    SetCurrentThreadName(threadName);
    work();
  }).detach();
}

}  // namespace addon
