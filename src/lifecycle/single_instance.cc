#include "lifecycle/single_instance.h"

#include <windows.h>

#include <mutex>
#include <utility>

#include "win/srw_lock.h"

namespace lifecycle {

namespace {

/// Without a namespace prefix, so it belongs to the terminal session and other sessions do not see it. Compatibility:
/// the name is kept as it is.
constexpr char kMutexName[] = "__MUTEX_TESSARON_LIVE_EXE__";

win::SrwLock claimLock;

/// The handle of the last claim; null when there is none. Compatibility: this is a plain HANDLE, which closes nothing
/// by itself. A second claim overwrites the handle of the first one without closing it, so the mutex stays until the
/// process ends.
HANDLE claim = nullptr;

}  // namespace

bool ClaimSingleInstance() noexcept {
  const std::lock_guard guard(claimLock);
  claim = CreateMutexA(nullptr, TRUE, kMutexName);
  if (GetLastError() == ERROR_ALREADY_EXISTS) return true;
  // Compatibility: a mutex that exists but that this user may not open counts as another instance. Any other failure
  // does not.
  return GetLastError() == ERROR_ACCESS_DENIED;
}

void GiveUpSingleInstance() noexcept {
  const std::lock_guard guard(claimLock);
  // ReleaseMutex is not needed: nobody waits for the mutex, and closing its last handle abandons the mutex if it is
  // still owned.
  if (claim) CloseHandle(std::exchange(claim, nullptr));
}

}  // namespace lifecycle
