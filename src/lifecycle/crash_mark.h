#pragma once

#include <cstdint>
#include <map>
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
  /// Maps the name of a mark's value to true if the mark is set and still counts.
  std::map<std::string, bool> marks_;
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
