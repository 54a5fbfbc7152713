#pragma once

namespace win {

/// A process-wide object whose destructor never runs. While the process ends, system calls are not safe, and a thread
/// may have been stopped while it held the object's lock. The module is not unloaded earlier (addon/module.cc).
template <typename Object>
union NeverDestroyed {
  NeverDestroyed() : object() {}
  ~NeverDestroyed() {}
  NeverDestroyed(const NeverDestroyed&) = delete;
  NeverDestroyed& operator=(const NeverDestroyed&) = delete;

  Object object;
};

}  // namespace win
