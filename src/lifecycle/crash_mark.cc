#include "lifecycle/crash_mark.h"

#include <memory>
#include <utility>

#include "lifecycle/crash_mark_processor_win.h"

namespace lifecycle {

namespace {

/// Null would mean a system without a store; Windows has one.
CrashMarkProcessor* Store() {
  static const std::unique_ptr<CrashMarkProcessor> store = std::make_unique<CrashMarkProcessorWin>();
  return store.get();
}

}  // namespace

namespace crash_marks {

bool setMark(uint32_t type, const std::string& argument) {
  CrashMarkProcessor* const store = Store();
  return store && store->setMark(type, argument);
}

bool clearMark(uint32_t type, const std::string& argument) {
  CrashMarkProcessor* const store = Store();
  return store && store->clearMark(type, argument);
}

bool hasMark(uint32_t type, const std::string& argument) {
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
