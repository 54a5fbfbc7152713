#include "jank/dump_name.h"

#include <ctime>
#include <mutex>

namespace jank {

DumpName MakeDumpFileName() noexcept {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  // If the clock is outside the calendar's range, localtime_s stores fields that strftime does not accept.
  if (localtime_s(&local, &now) != 0) {
    local = std::tm{};
    local.tm_mday = 1;
    local.tm_year = 70;
  }
  // Not std::put_time: some standard libraries switch the process's locale for it. std::strftime writes numbers in the
  // same way. The calendar ends with the year 3000, so the name always fits.
  DumpName name;
  std::strftime(name.characters.data(), name.characters.size(), "%Y-%m-%d %H-%M-%S.dmp", &local);
  return name;
}

DumpNameChoice DumpNameState::FirstLook() noexcept {
  // The name is made before the lock is taken: the conversion of the time may allocate memory.
  const DumpName fresh = MakeDumpFileName();
  const std::lock_guard lock(lock_);
  if (!pendingDumpName_.IsEmpty()) return {.name = pendingDumpName_, .reuse = true};
  return Choose(fresh);
}

void DumpNameState::SecondLook(DumpNameChoice& choice) noexcept {
  if (!choice.reuse) return;
  const DumpName fresh = MakeDumpFileName();
  const std::lock_guard lock(lock_);
  if (lastDumpName_ != choice.name) choice = Choose(fresh);
}

DumpNameChoice DumpNameState::Choose(const DumpName& fresh) noexcept {
  pendingDumpName_ = fresh;
  lastDumpName_ = {};
  return {.name = fresh, .reuse = false};
}

void DumpNameState::Publish(const DumpName& name, bool succeeded) noexcept {
  const std::lock_guard lock(lock_);
  lastDumpName_ = succeeded ? name : DumpName{};
  pendingDumpName_ = {};
}

}  // namespace jank
