#include "jank/dump_name.h"

#include <windows.h>

#include <mutex>

namespace jank {

DumpName MakeDumpFileName() noexcept {
  // Not the functions of the C library: they may allocate memory.
  SYSTEMTIME now{};
  GetLocalTime(&now);
  DumpName name{.text = {"0000-00-00 00-00-00.dmp"}};
  const auto write = [&name](size_t first, size_t last, unsigned number) {
    for (size_t place = last + 1; place-- > first; number /= 10)
      name.text[place] = static_cast<char>('0' + number % 10);
  };
  write(0, 3, now.wYear);
  write(5, 6, now.wMonth);
  write(8, 9, now.wDay);
  write(11, 12, now.wHour);
  write(14, 15, now.wMinute);
  write(17, 18, now.wSecond);
  return name;
}

DumpNameChoice DumpNameState::Choose() noexcept {
  const std::lock_guard lock(lock_);
  if (!pendingDumpName_.IsEmpty()) return {.name = pendingDumpName_, .reuse = true};
  return ChooseNew();
}

void DumpNameState::Confirm(DumpNameChoice& choice) noexcept {
  const std::lock_guard lock(lock_);
  if (choice.reuse && lastDumpName_ != choice.name) choice = ChooseNew();
}

DumpNameChoice DumpNameState::ChooseNew() noexcept {
  pendingDumpName_ = MakeDumpFileName();
  lastDumpName_ = {};
  return {.name = pendingDumpName_, .reuse = false};
}

void DumpNameState::Publish(const DumpName& name, bool succeeded) noexcept {
  const std::lock_guard lock(lock_);
  lastDumpName_ = succeeded ? name : DumpName{};
  pendingDumpName_ = {};
}

}  // namespace jank
