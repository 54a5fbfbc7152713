#include "support/registry_scratch.h"

#include <utility>

namespace testing_support {

RegistryScratch::RegistryScratch(HKEY root, std::wstring path, REGSAM viewFlags)
    : root_(root), path_(std::move(path)), viewFlags_(viewFlags) {
  Delete();
}

RegistryScratch::~RegistryScratch() {
  Delete();
}

void RegistryScratch::Set(const wchar_t* name, DWORD type, const void* data, size_t size) const {
  HKEY key = nullptr;
  RegCreateKeyExW(root_, path_.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS | viewFlags_, nullptr, &key, nullptr);
  if (name) RegSetValueExW(key, name, 0, type, static_cast<const BYTE*>(data), static_cast<DWORD>(size));
  RegCloseKey(key);
}

void RegistryScratch::SetText(const wchar_t* name, const std::wstring& text) const {
  Set(name, REG_SZ, text.c_str(), (text.size() + 1) * sizeof(wchar_t));
}

bool RegistryScratch::Has(const wchar_t* name) const {
  HKEY key = nullptr;
  if (RegOpenKeyExW(root_, path_.c_str(), 0, KEY_QUERY_VALUE | viewFlags_, &key) != ERROR_SUCCESS) return false;
  const bool has = RegQueryValueExW(key, name, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
  RegCloseKey(key);
  return has;
}

void RegistryScratch::Delete() const {
  HKEY key = nullptr;
  if (RegOpenKeyExW(root_, path_.c_str(), 0, KEY_ALL_ACCESS | viewFlags_, &key) != ERROR_SUCCESS) return;
  RegDeleteTreeW(key, nullptr);
  RegCloseKey(key);
  RegDeleteKeyExW(root_, path_.c_str(), viewFlags_, 0);
}

}  // namespace testing_support
