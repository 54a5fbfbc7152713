#include "jank/output_file.h"

namespace jank {

win::UniqueFile CreateOutputFile(const std::wstring& path) noexcept {
  if (path.find(L'\0') != std::wstring::npos) return {};
  return win::UniqueFile(CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_WRITE, nullptr, CREATE_ALWAYS,
                                     FILE_ATTRIBUTE_NORMAL, nullptr));
}

}  // namespace jank
