#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "lifecycle/crash_mark.h"

namespace lifecycle {

/// Keeps crash marks in the registry: one REG_QWORD for each, which holds the time at which it was set. All users and
/// all processes of the client share the key. Reading a mark that no longer counts removes it. Marks that have been
/// read are also cached in memory; see hasMark.
class CrashMarkProcessorWin : public CrashMarkProcessor {
 public:
  /// Reads the marks that have no argument.
  CrashMarkProcessorWin();

  /// Creates the key where it is missing, even for a mark without a name. After writing a new mark it waits until the
  /// clock shows a later millisecond, because a mark does not count in the millisecond in which it was set. The wait
  /// takes about one millisecond, and at most five milliseconds if the clock stands still or goes back.
  bool setMark(uint32_t type, std::string argument) override;

  /// Clears only a mark that this object has read or set before. For any other mark, returns false and leaves the
  /// registry unchanged. Afterwards this object does not know the mark any more, even if the registry could not be
  /// written.
  bool clearMark(uint32_t type, std::string argument) override;

  /// Reads the registry only when there is an argument. Without an argument, or when the key cannot be opened, returns
  /// the cached state.
  bool hasMark(uint32_t type, std::string argument) override;

 private:
  void LoadAll();
  void Refresh(uint32_t type, const std::string& argument);

  /// Maps the name of a mark's value to true if the mark is set and still counts.
  std::map<std::string, bool> marks_;
};

}  // namespace lifecycle
