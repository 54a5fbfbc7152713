#pragma once

#include <windows.h>

#include <process.h>

#include <cstdint>
#include <memory>
#include <system_error>
#include <utility>

#include "addon/thread_name.h"

namespace addon {

/// Starts a detached thread that names itself `threadName` (a literal of 15 characters at most) and runs `work()`. An
/// exception that `work` lets out ends the process. Throws std::system_error when the thread cannot be started. Any
/// thread.
///
/// Does what a detached std::thread does, but does not use one: with MinGW-w64's library, a thread that is detached
/// before it has got to run may lose its function, or run it with a null argument.
template <typename Work>
void StartWorker(const char* threadName, Work work) {
  struct Worker {
    const char* threadName;
    Work work;

    static unsigned __stdcall Run(void* data) noexcept {
      const std::unique_ptr<Worker> worker(static_cast<Worker*>(data));
      SetCurrentThreadName(worker->threadName);
      worker->work();
      return 0;
    }
  };
  std::unique_ptr<Worker> worker(new Worker{threadName, std::move(work)});
  const uintptr_t thread = _beginthreadex(nullptr, 0, &Worker::Run, worker.get(), 0, nullptr);
  if (thread == 0) throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
  // The thread owns it now.
  static_cast<void>(worker.release());
  CloseHandle(reinterpret_cast<HANDLE>(thread));
}

}  // namespace addon
