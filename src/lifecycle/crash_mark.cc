#include "lifecycle/crash_mark.h"

#include <memory>
#include <mutex>
#include <utility>

#include "lifecycle/crash_mark_processor_win.h"
#include "win/srw_lock.h"

namespace lifecycle {

namespace {

/// Guards the store. The store itself does not take this lock.
win::SrwLock storeLock;

/// Never null on Windows.
CrashMarkProcessor* Store() {
  static const std::unique_ptr<CrashMarkProcessor> store = std::make_unique<CrashMarkProcessorWin>();
  return store.get();
}

}  // namespace

namespace crash_marks {

bool setMark(uint32_t type, const std::string& argument) {
  const std::lock_guard guard(storeLock);
  CrashMarkProcessor* const store = Store();
  return store && store->setMark(type, argument);
}

bool clearMark(uint32_t type, const std::string& argument) {
  const std::lock_guard guard(storeLock);
  CrashMarkProcessor* const store = Store();
  return store && store->clearMark(type, argument);
}

bool hasMark(uint32_t type, const std::string& argument) {
  const std::lock_guard guard(storeLock);
  CrashMarkProcessor* const store = Store();
  return store && store->hasMark(type, argument);
}

}  // namespace crash_marks

ScopedCrashMark::ScopedCrashMark(uint32_t type, std::string argument) : type_(type), argument_(std::move(argument)) {
  crash_marks::setMark(type_, argument_);
}

ScopedCrashMark::~ScopedCrashMark() {
  crash_marks::clearMark(type_, argument_);
}

}  // namespace lifecycle
