#pragma once

#include <windows.h>

namespace win {

/// The function `name` that `library` exports, as a pointer of type `Function`, or null when `library` is null or has
/// no such export. The pointer is valid as long as the library stays loaded. Any thread.
template <typename Function>
Function GetFunction(HMODULE library, const char* name) noexcept {
  if (!library) return nullptr;
  return reinterpret_cast<Function>(GetProcAddress(library, name));
}

}  // namespace win
