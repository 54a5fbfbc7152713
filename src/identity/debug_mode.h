#pragma once

#include <cstdint>

#include "identity/file_signature.h"
#include "win/srw_lock.h"

namespace identity {

/// Whether this copy of the module runs in debug mode. A build with a debug period has a resource with the end of that
/// period. Until then, debug mode is on if the module's file is signed and unchanged. Other builds have no such
/// resource.
class DebugMode {
 public:
  /// The process's one instance.
  static DebugMode& Instance();

  /// Returns true in debug mode. The first call decides, and blocks; every failure means false. The answer stays the
  /// same until Release(), even when the period ends. Any thread. While one thread decides, other callers wait for its
  /// answer.
  bool Query() noexcept;

  /// Frees the library that the signature check has loaded. The next Query() decides again. Any thread.
  void Release() noexcept;

 private:
  win::SrwLock lock_;
  uint8_t evaluated_ = 0;
  uint8_t debug_ = 0;
  FileSignature signature_;
};

}  // namespace identity
