#pragma once

#include "win/unique_resource.h"

namespace identity {

/// Checks the signature of files with WinVerifyTrust. Keeps the library of that function loaded after the first check.
/// One thread.
class FileSignature {
 public:
  /// Returns true if the file at `path` is signed by a signer that this machine trusts, and has not changed since.
  /// Shows nothing to the user and does not use the network. Also returns false when the library cannot be loaded.
  /// Blocks.
  bool Verify(const wchar_t* path) noexcept;

  /// Frees the library. The next check loads it again.
  void Release() noexcept { library_.Reset(); }

 private:
  win::UniqueLibrary library_;
};

}  // namespace identity
