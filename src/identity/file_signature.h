#pragma once

#include "win/unique_resource.h"

namespace identity {

/// The system's own check that a file is unchanged since it was signed, by a signer that this machine trusts. Holds the
/// library that does it loaded from the first check on. Script thread.
class FileSignature {
 public:
  /// True when the file at `path` passes. Asks neither the user nor the network. False also when the system's library
  /// cannot be loaded.
  bool Verify(const wchar_t* path) noexcept;

  /// Frees the library; the next check loads it again.
  void Release() noexcept { library_.Reset(); }

 private:
  win::UniqueLibrary library_;
};

}  // namespace identity
