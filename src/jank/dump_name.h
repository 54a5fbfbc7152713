#pragma once

#include <mutex>
#include <string>

namespace jank {

/// The dump file name for this moment in local time, "2024-03-05 14-07-09.dmp" for instance, without a directory. Two
/// calls within a second give the same name. Any thread.
std::string MakeDumpFileName();

/// The dump file that a capture works with.
struct DumpNameChoice {
  std::string name;
  /// True when another capture writes, or has written, that file and this one only names it.
  bool reuse = false;
};

/// Lets captures that overlap share one dump: a minidump holds every thread of the process anyway. One instance serves
/// all captures of the process. Any thread; lock order: the DbgHelp call lock is taken before this object's own lock,
/// never the other way round.
///
/// While one capture has a thread frozen, another one may be in FirstLook. So nothing is taken from the heap or given
/// back to it under this object's lock: the frozen thread may hold the heap's own lock, and the publishing capture
/// would then wait for the looking one for ever.
///
/// A capture that fails between its looks and its publishing heals by itself: the next capture finds that the name
/// which it waited for was never published, and chooses a fresh one.
class DumpNameState {
 public:
  /// `makeName` gives the name of a new dump.
  explicit DumpNameState(std::string (*makeName)() = &MakeDumpFileName) : makeName_(makeName) {}

  /// Before the DbgHelp call lock is taken: the name of the dump that is being written, or else a new one.
  DumpNameChoice FirstLook();

  /// With the DbgHelp call lock held, so that a capture that was writing has published: confirms a reused name, or
  /// replaces it by a new one that this capture must write itself.
  void SecondLook(DumpNameChoice& choice);

  /// After this capture wrote its own dump, or failed to: makes its name available for sharing, or nobody's. Not for a
  /// capture that reuses a dump. Runs while a thread is frozen: `name`, a copy of the chosen name made beforehand, is
  /// swapped in, and comes back with an old name's memory for the caller to free later.
  void Publish(std::string& name, bool succeeded);

 private:
  /// Makes `fresh` the pending name, under the lock.
  void SetPending(std::string& fresh);

  std::string (*const makeName_)();
  /// Publish takes it while a thread is frozen. By then FirstLook has taken it too, so what memory it needs it has.
  std::mutex mutex_;
  /// Chosen by a capture that has not yet published; empty when there is none.
  std::string pendingDumpName_;
  /// The latest dump that was written and may be shared; empty when there is none or the last attempt failed.
  std::string lastDumpName_;
};

}  // namespace jank
