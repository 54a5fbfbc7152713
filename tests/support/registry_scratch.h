#pragma once

#include <windows.h>

#include <string>

namespace testing_support {

/// A registry key of a test's own, deleted with everything below it before and after.
class RegistryScratch {
 public:
  /// `path` below `root`, in the view that `viewFlags` (KEY_WOW64_32KEY, KEY_WOW64_64KEY or 0) names. The key itself is
  /// created only by the first value that is set.
  RegistryScratch(HKEY root, std::wstring path, REGSAM viewFlags = 0);
  ~RegistryScratch();
  RegistryScratch(const RegistryScratch&) = delete;
  RegistryScratch& operator=(const RegistryScratch&) = delete;

  /// Creates the key, and sets a value in it where `name` is not null.
  void Set(const wchar_t* name, DWORD type, const void* data, size_t size) const;
  void SetText(const wchar_t* name, const std::wstring& text) const;

  /// True when the value exists.
  bool Has(const wchar_t* name) const;

  void Delete() const;

 private:
  HKEY root_;
  std::wstring path_;
  REGSAM viewFlags_;
};

}  // namespace testing_support
