#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>

#include <windows.h>

namespace testing_support {

/// A folder of a test's own, deleted with all that is in it.
class TempFolder {
 public:
  /// `suffix` becomes the end of the folder's name.
  explicit TempFolder(const std::wstring& suffix = L"") {
    static int count = 0;
    path_ = std::filesystem::temp_directory_path() /
            (L"borvanta-" + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++count) + suffix);
    std::filesystem::create_directories(path_);
  }
  ~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const std::filesystem::path& Path() const { return path_; }

  /// The folder with a backslash at the end.
  std::wstring Prefix() const { return path_.wstring() + L"\\"; }

 private:
  std::filesystem::path path_;
};

/// A file's bytes; empty when it cannot be read.
inline std::string ReadBytes(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

}  // namespace testing_support
