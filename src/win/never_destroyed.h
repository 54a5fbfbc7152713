#pragma once

#include <utility>

namespace win {

/// An object of the process that is there until the process ends: no destructor runs. At that end, and when the module
/// is unloaded, there is no good moment for system calls, and a thread may have been stopped with the object's lock in
/// its hands.
template <typename Object>
union NeverDestroyed {
  template <typename... Arguments>
  explicit NeverDestroyed(Arguments&&... arguments) : object(std::forward<Arguments>(arguments)...) {}
  ~NeverDestroyed() {}
  NeverDestroyed(const NeverDestroyed&) = delete;
  NeverDestroyed& operator=(const NeverDestroyed&) = delete;

  Object object;
};

}  // namespace win
