#pragma once

#include <string>

#include "win/unique_resource.h"

namespace jank {

/// Creates a file in the client's directory for writing, in place of an existing file. The result is false if that
/// fails, or if the path has an embedded NUL, where Windows would cut the path off. Any thread. No heap.
inline win::UniqueFile CreateOutputFile(const std::wstring& path) noexcept {
  if (path.find(L'\0') != std::wstring::npos) return {};
  return win::UniqueFile(CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_WRITE, nullptr, CREATE_ALWAYS,
                                     FILE_ATTRIBUTE_NORMAL, nullptr));
}

}  // namespace jank
