#pragma once

#include <array>

#include "win/srw_lock.h"

namespace jank {

/// The file name of a dump, without its directory: 23 characters, or none in a fresh value. No heap.
struct DumpName {
  std::array<char, sizeof("2024-03-05 14-07-09.dmp")> text{};

  bool IsEmpty() const noexcept { return text[0] == '\0'; }
  bool operator==(const DumpName&) const = default;
};

/// The dump name for this moment in local time. Two calls within a second return the same name. Any thread. No heap.
DumpName MakeDumpFileName() noexcept;

/// The dump file that a capture works with.
struct DumpNameChoice {
  DumpName name;
  /// True if another capture writes that file, or has written it, and this capture only refers to it.
  bool reuse = false;
};

/// Lets captures that overlap share one dump, because a minidump holds every thread of the process anyway. Captures of
/// different processes share one too (docs/jank-report.md). One instance serves all captures of the process. Any
/// thread. No heap. Lock order: the DbgHelp call lock is taken before this object's lock, never after it.
///
/// A capture that fails before it publishes leaves its name pending. That does no harm: the next capture finds that the
/// name was never published, and chooses a new one.
class DumpNameState {
 public:
  /// Called before the DbgHelp call lock is taken. Returns the name of the dump that is being written, or else a new
  /// name.
  DumpNameChoice Choose() noexcept;

  /// Called with the DbgHelp call lock held: a capture that was writing a dump has published it by then. Confirms a
  /// reused name or replaces it by a new one. A new name means that this capture must write the dump itself.
  void Confirm(DumpNameChoice& choice) noexcept;

  /// Called after a capture has tried to write its own dump. If that succeeded, other captures may share the dump. Not
  /// called by a capture that reuses a dump.
  void Publish(const DumpName& name, bool succeeded) noexcept;

 private:
  /// Makes a new name and notes it as pending. The caller holds the lock.
  DumpNameChoice ChooseNew() noexcept;

  win::SrwLock lock_;
  /// Chosen by a capture that has not yet published. Empty if there is none.
  DumpName pendingDumpName_;
  /// The latest dump that was written and may be shared. Empty if there is none or the last attempt failed.
  DumpName lastDumpName_;
};

}  // namespace jank
