#pragma once

namespace addon {

/// The longest thread name that is applied whole; the rest of a longer one is cut off.
inline constexpr unsigned kMaxThreadNameLength = 15;

/// Names the calling thread for debuggers and profilers. `name` is in the runtime library's current locale (plain
/// ASCII here). Uses SetThreadDescription where the system has it, else the exception by which older debuggers learn a
/// thread's name. Never fails outward. Any thread.
void SetCurrentThreadName(const char* name) noexcept;

}  // namespace addon
