#pragma once

#include <windows.h>

#include <cstdint>

namespace lifecycle {

/// How long a mark counts: 60 days in milliseconds.
inline constexpr uint64_t kMarkLifetime = 5'184'000'000;

/// True when a mark of time `stored` counts at time `now`, both in milliseconds since 1970-01-01 00:00 UTC: set before
/// now and less than 60 days ago. Both ends are deliberately excluded, so a mark is not seen in the very millisecond in
/// which it was set. Times come from the registry and may be anything: their sum wraps as the processor's does.
constexpr bool IsFresh(int64_t stored, int64_t now) noexcept {
  const auto end = static_cast<int64_t>(static_cast<uint64_t>(stored) + kMarkLifetime);
  return stored < now && end > now;
}

/// A system time in milliseconds since 1970-01-01 00:00 UTC, truncated toward zero.
constexpr int64_t ToUnixMilliseconds(const FILETIME& time) noexcept {
  constexpr int64_t kTicksFrom1601To1970 = 116'444'736'000'000'000;
  constexpr int64_t kTicksInMillisecond = 10'000;
  const auto ticks = static_cast<int64_t>(static_cast<uint64_t>(time.dwHighDateTime) << 32 | time.dwLowDateTime);
  return (ticks - kTicksFrom1601To1970) / kTicksInMillisecond;
}

/// The system clock's time. Any thread.
inline int64_t UnixMillisecondsNow() noexcept {
  FILETIME now{};
  GetSystemTimePreciseAsFileTime(&now);
  return ToUnixMilliseconds(now);
}

}  // namespace lifecycle
