#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "lifecycle/crash_mark.h"

namespace lifecycle {

/// Keeps crash marks in the registry: a REG_QWORD for each, with the time at which it was set, in a key that all users
/// and all processes of the client share. Reading a mark that no longer counts removes it. What has been read is kept
/// in memory; the registry is the truth.
class CrashMarkProcessorWin : public CrashMarkProcessor {
 public:
  /// Reads the marks without an argument.
  CrashMarkProcessorWin();

  /// Creates the key where it is missing, for a mark without a name too.
  bool setMark(uint32_t type, std::string argument) override;

  /// Clears only what this object has read or set before: for a mark that it does not know it answers false and leaves
  /// the registry alone. Afterwards it does not know the mark, whether or not the registry could be written.
  bool clearMark(uint32_t type, std::string argument) override;

  /// Reads the registry only when there is an argument; otherwise answers what is kept in memory. The same when the key
  /// cannot be opened.
  bool hasMark(uint32_t type, std::string argument) override;

 private:
  void LoadAll();
  void Refresh(uint32_t type, const std::string& argument);

  /// Whether a mark is set, by the name of its value.
  std::map<std::string, bool> marks_;
};

}  // namespace lifecycle
