#include "lifecycle/single_instance.h"

#include <windows.h>

#include <utility>

namespace lifecycle {

namespace {

/// The handle of the last claim, null when there is none. Deliberately not an owner that closes: a second claim
/// overwrites the handle of the first without closing it, which keeps the mutex alive until the process ends. The
/// client relies on that.
HANDLE claim = nullptr;

}  // namespace

bool ClaimSingleInstance() noexcept {
  // No namespace prefix: the name belongs to the terminal session, and other sessions do not see it.
  claim = CreateMutexA(nullptr, TRUE, "__MUTEX_TESSARON_LIVE_EXE__");
  if (GetLastError() == ERROR_ALREADY_EXISTS) return true;
  // Deliberate: a mutex that another user's rights protect is another instance; any other failure is none.
  return GetLastError() == ERROR_ACCESS_DENIED;
}

void GiveUpSingleInstance() noexcept {
  // Deliberately without ReleaseMutex: nobody waits for the mutex, and closing an owned one abandons it.
  if (claim) CloseHandle(std::exchange(claim, nullptr));
}

}  // namespace lifecycle
