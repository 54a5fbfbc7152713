#pragma once

#include <cstdint>
#include <string>

namespace lifecycle {

/// A crash mark is set before a risky phase and cleared when the phase has gone well. If the process dies in between,
/// the next one finds the mark. Marks count for 60 days.

/// The types of marks. A mark of any other type has the empty name and cannot be set or cleared.
inline constexpr uint32_t kHardwareCapabilityMark = 1;
/// The start-up of the version in the argument.
inline constexpr uint32_t kStartupMark = 3;
inline constexpr uint32_t kReservedMark = 4;

/// A store of crash marks. No operation throws when the store cannot be read or written; each then answers false.
/// Script thread only.
class CrashMarkProcessor {
 public:
  virtual ~CrashMarkProcessor() = default;

  /// Sets the mark; true when it is set now. One that was set before keeps its time.
  virtual bool setMark(uint32_t type, std::string argument) = 0;

  /// Clears the mark; true when it was known and could be removed from the store.
  virtual bool clearMark(uint32_t type, std::string argument) = 0;

  /// True when the mark is set and still counts.
  virtual bool hasMark(uint32_t type, std::string argument) = 0;
};

/// The same operations on the one store of this process, which is created at the first use and destroyed when the
/// module is unloaded. False when there is no store. Script thread only.
namespace crash_marks {

bool setMark(uint32_t type, const std::string& argument);
bool clearMark(uint32_t type, const std::string& argument);
bool hasMark(uint32_t type, const std::string& argument);

}  // namespace crash_marks

/// Holds a mark of this process's store around a block of native code. Memory that runs out at the end of the block
/// ends the process. Script thread only.
class ScopedCrashMark {
 public:
  ScopedCrashMark(uint32_t type, std::string argument);
  ~ScopedCrashMark();
  ScopedCrashMark(const ScopedCrashMark&) = delete;
  ScopedCrashMark& operator=(const ScopedCrashMark&) = delete;

 private:
  uint32_t type_;
  std::string argument_;
};

}  // namespace lifecycle
