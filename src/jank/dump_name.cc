#include "jank/dump_name.h"

#include <array>
#include <chrono>
#include <ctime>
#include <utility>

namespace jank {

std::string MakeDumpFileName() {
  const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
  std::tm local{};
  // A clock outside the calendar's range leaves fields that strftime must not see.
  if (localtime_s(&local, &now) != 0) {
    local = std::tm{};
    local.tm_mday = 1;
    local.tm_year = 70;
  }
  std::array<char, 32> name{};
  const size_t length = std::strftime(name.data(), name.size(), "%Y-%m-%d %H-%M-%S.dmp", &local);
  return {name.data(), length};
}

DumpNameChoice DumpNameState::FirstLook() {
  // Made before the lock is taken, as long as any name; the one that is not needed is freed after it is left.
  std::string fresh = makeName_();
  DumpNameChoice choice{.name = fresh, .reuse = false};
  const std::lock_guard lock(mutex_);
  if (pendingDumpName_.empty()) {
    SetPending(fresh);
  } else {
    choice.name = pendingDumpName_;
    choice.reuse = true;
  }
  return choice;
}

void DumpNameState::SecondLook(DumpNameChoice& choice) {
  if (!choice.reuse) return;
  std::string fresh = makeName_();
  DumpNameChoice own{.name = fresh, .reuse = false};
  const std::lock_guard lock(mutex_);
  if (lastDumpName_ == choice.name) return;
  SetPending(fresh);
  std::swap(choice, own);
}

void DumpNameState::SetPending(std::string& fresh) {
  pendingDumpName_.swap(fresh);
  lastDumpName_.clear();
}

void DumpNameState::Publish(std::string& name, bool succeeded) {
  const std::lock_guard lock(mutex_);
  if (succeeded) {
    lastDumpName_.swap(name);
  } else {
    lastDumpName_.clear();
  }
  pendingDumpName_.clear();
}

}  // namespace jank
