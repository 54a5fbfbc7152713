#pragma once

#include <array>
#include <string_view>

#include "win/srw_lock.h"

namespace jank {

/// The file name of a dump, without its directory: 23 characters, or none in a fresh value. Takes nothing from the
/// heap.
struct DumpName {
  /// Ends with a zero.
  std::array<char, sizeof("2024-03-05 14-07-09.dmp")> characters{};

  bool IsEmpty() const noexcept { return characters[0] == '\0'; }
  std::string_view View() const noexcept { return characters.data(); }
  bool operator==(const DumpName&) const = default;
};

/// The dump name for this moment in local time. Two calls within a second return the same name. Any thread.
DumpName MakeDumpFileName() noexcept;

/// The dump file that a capture works with.
struct DumpNameChoice {
  DumpName name;
  /// True if another capture writes that file, or has written it, and this capture only names it.
  bool reuse = false;
};

/// Lets captures that overlap share one dump: a minidump holds every thread of the process anyway. One instance serves
/// all captures of the process. Any thread. Lock order: the DbgHelp call lock is taken before this object's lock, never
/// after it.
///
/// While one capture has a thread frozen, another one may be in FirstLook. So nothing is taken from the heap or given
/// back to it under this object's lock: the frozen thread may hold the heap's own lock, and the two captures would then
/// wait for ever.
///
/// A capture that fails before it publishes leaves its name pending. That does no harm: the next capture finds that the
/// name was never published, and chooses a new one.
class DumpNameState {
 public:
  /// Before the DbgHelp call lock is taken: returns the name of the dump that is being written, or else a new one.
  DumpNameChoice FirstLook() noexcept;

  /// With the DbgHelp call lock held, so that a capture that was writing has published. Confirms a reused name, or
  /// replaces it by a new one, whose dump this capture must write itself.
  void SecondLook(DumpNameChoice& choice) noexcept;

  /// After a capture wrote its own dump, or failed to: lets other captures share it, or not. Not for a capture that
  /// reuses a dump.
  void Publish(const DumpName& name, bool succeeded) noexcept;

 private:
  /// Makes `fresh` the pending name. The caller holds the lock.
  DumpNameChoice Choose(const DumpName& fresh) noexcept;

  win::SrwLock lock_;
  /// Chosen by a capture that has not yet published. Empty if there is none.
  DumpName pendingDumpName_;
  /// The latest dump that was written and may be shared. Empty if there is none or the last attempt failed.
  DumpName lastDumpName_;
};

}  // namespace jank
