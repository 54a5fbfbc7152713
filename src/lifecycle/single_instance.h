#pragma once

namespace lifecycle {

/// Claims the mutex by which the client runs once in a user session. Returns true when another holder of the name
/// exists (this process included, if it has claimed before) or the name belongs to another user; false when this call
/// created the mutex, and also when it could not be created for any other reason, so that no failure keeps the client
/// from starting. Script thread only.
bool ClaimSingleInstance() noexcept;

/// Closes the handle of the last claim, if there is one. The mutex vanishes with its last handle in any process.
/// Script thread only.
void GiveUpSingleInstance() noexcept;

}  // namespace lifecycle
