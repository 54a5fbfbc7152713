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

/// A store of crash marks. If the store cannot be read or written, an operation returns false and does not throw. Each
/// throws std::bad_alloc when memory runs out. One thread.
class CrashMarkProcessor {
 public:
  virtual ~CrashMarkProcessor() = default;

  /// Sets the mark. Returns true when it is set now. A mark that was set before keeps its time.
  virtual bool setMark(uint32_t type, std::string argument) = 0;

  /// Clears the mark. Returns true when this object knew the mark and has removed it from the store.
  virtual bool clearMark(uint32_t type, std::string argument) = 0;

  /// Returns true when the mark is set and still counts.
  virtual bool hasMark(uint32_t type, std::string argument) = 0;
};

/// The same operations on the process's one store. The store is created at the first use and destroyed when the process
/// ends. Each operation returns false when there is no store. Any thread; a lock lets one call run at a time.
namespace crash_marks {

bool setMark(uint32_t type, const std::string& argument);
bool clearMark(uint32_t type, const std::string& argument);
bool hasMark(uint32_t type, const std::string& argument);

}  // namespace crash_marks

/// For a block of native code that may crash: the constructor sets a mark in the process's store, the destructor clears
/// it. The process ends if memory runs out in the destructor. Any thread.
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
