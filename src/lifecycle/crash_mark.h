#pragma once

#include <cstdint>
#include <string>

namespace lifecycle {

// A crash mark is set before a risky phase and cleared when the phase has gone well. If the process dies in between,
// the next process finds the mark. A mark counts for 60 days.

// The types of marks. A mark of any other type has an empty name and cannot be set or cleared.

inline constexpr uint32_t kHardwareCapabilityMark = 1;
/// The start-up of the version in the argument.
inline constexpr uint32_t kStartupMark = 3;
inline constexpr uint32_t kReservedMark = 4;

/// A store of crash marks. No operation throws because the store cannot be read or written; it then returns false. Each
/// throws std::bad_alloc when memory runs out. An object is not locked: one thread at a time.
class CrashMarkProcessor {
 public:
  virtual ~CrashMarkProcessor() = default;

  /// Sets the mark. Returns true when it is set now. A mark that was set before keeps its time.
  virtual bool setMark(uint32_t type, std::string argument) = 0;

  /// Clears the mark. Returns true when it was known and has been removed from the store.
  virtual bool clearMark(uint32_t type, std::string argument) = 0;

  /// Returns true when the mark is set and still counts.
  virtual bool hasMark(uint32_t type, std::string argument) = 0;
};

/// The same operations on the process's one store. It is created at the first use and destroyed when the module is
/// unloaded. Each returns false when there is no store. Any thread; a lock keeps the calls apart.
namespace crash_marks {

bool setMark(uint32_t type, const std::string& argument);
bool clearMark(uint32_t type, const std::string& argument);
bool hasMark(uint32_t type, const std::string& argument);

}  // namespace crash_marks

/// Holds a mark of the process's store around a block of native code. The process ends if memory runs out at the end of
/// the block. Any thread.
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
