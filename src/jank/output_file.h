#pragma once

#include <string>

#include "win/unique_resource.h"

namespace jank {

/// Creates a file of the jank directory for writing, in place of one that bears its name; the result is false when that
/// fails, and for a path with an embedded NUL, which the system would cut short. Takes nothing from the heap itself.
/// Any thread.
win::UniqueFile CreateOutputFile(const std::wstring& path) noexcept;

}  // namespace jank
