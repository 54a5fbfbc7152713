#pragma once

namespace lifecycle {

/// Claims the mutex that lets the client run only once in a user session. Returns true when the name is taken: another
/// process holds it, this process has claimed it before, or it belongs to another user. Returns false when this call
/// created the mutex. Also returns false when the mutex could not be created for any other reason, so that no failure
/// keeps the client from starting. Any thread.
bool ClaimSingleInstance() noexcept;

/// Closes the handle of the last claim, if there is one. The mutex disappears with its last handle in any process. Any
/// thread.
void GiveUpSingleInstance() noexcept;

}  // namespace lifecycle
