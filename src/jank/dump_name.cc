#include "jank/dump_name.h"

#include <chrono>
#include <ctime>
#include <iomanip>
#include <sstream>

namespace jank {

std::string MakeDumpFileName() {
  const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
  std::tm local{};
  localtime_s(&local, &now);
  std::ostringstream name;
  name << std::put_time(&local, "%Y-%m-%d %H-%M-%S");
  return name.str() + ".dmp";
}

DumpNameChoice DumpNameState::FirstLook() {
  const std::lock_guard lock(mutex_);
  if (!pendingDumpName_.empty()) return {.name = pendingDumpName_, .reuse = true};
  DumpNameChoice choice;
  ChooseNew(choice);
  return choice;
}

void DumpNameState::SecondLook(DumpNameChoice& choice) {
  if (!choice.reuse) return;
  const std::lock_guard lock(mutex_);
  if (lastDumpName_ != choice.name) ChooseNew(choice);
}

void DumpNameState::ChooseNew(DumpNameChoice& choice) {
  pendingDumpName_ = makeName_();
  choice = {.name = pendingDumpName_, .reuse = false};
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
