#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <span>

#include "identity/file_signature.h"

namespace identity {

/// Whether this copy of the module runs in debug mode. A debug build grants it: it carries a resource that holds the
/// last moment of the mode, and its file must be signed and unchanged. A release build has no such resource.
///
/// The decision is made at the first query and holds until Release(), even when the period ends meanwhile. Script
/// thread; there is no lock, and a second script thread that asks while the first one decides is told "no".
class DebugMode {
 public:
  /// The process's one state, which lives as long as the module is loaded.
  static DebugMode& Instance();

  /// True in debug mode. Every failure means no.
  bool Query() noexcept;

  /// Frees what the signature check loaded and forgets the decision.
  void Release() noexcept;

 private:
  std::atomic<uint8_t> evaluated_ = 0;
  std::atomic<uint8_t> debug_ = 0;
  FileSignature signature_;
};

/// Whether a debug period that ends with the moment in `digits` still holds at `now`: the milliseconds from 1601-01-01
/// 00:00 in decimal, the last one included. Nothing is validated: a byte that is no digit counts by its distance from
/// '0', and the number wraps at 64 bits, so that "/" (-1) never ends.
bool IsInDebugPeriod(std::span<const BYTE> digits, const SYSTEMTIME& now) noexcept;

}  // namespace identity
