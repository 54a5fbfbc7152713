#pragma once

#include <windows.h>

namespace bench {

/// Nanoseconds since a moment that stays the same while the process runs. Any thread.
inline double NowInNanoseconds() {
  LARGE_INTEGER now{};
  LARGE_INTEGER frequency{};
  QueryPerformanceCounter(&now);
  QueryPerformanceFrequency(&frequency);
  return static_cast<double>(now.QuadPart) * 1e9 / static_cast<double>(frequency.QuadPart);
}

}  // namespace bench
