#include "support/registry_scratch.h"

#include <utility>

#include "win/registry_key.h"

namespace testing_support {

RegistryScratch::RegistryScratch(HKEY root, std::wstring path, REGSAM viewFlags)
    : root_(root), path_(std::move(path)), viewFlags_(viewFlags) {
  Delete();
}

RegistryScratch::~RegistryScratch() {
  Delete();
}

void RegistryScratch::Set(const wchar_t* name, DWORD type, const void* data, size_t size) const {
  const auto key = win::RegistryKey::Create(root_, path_.c_str(), KEY_ALL_ACCESS | viewFlags_);
  if (name) RegSetValueExW(key.Get(), name, 0, type, static_cast<const BYTE*>(data), static_cast<DWORD>(size));
}

void RegistryScratch::SetText(const wchar_t* name, const std::wstring& text) const {
  Set(name, REG_SZ, text.c_str(), (text.size() + 1) * sizeof(wchar_t));
}

bool RegistryScratch::Has(const wchar_t* name) const {
  const auto key = win::RegistryKey::Open(root_, path_.c_str(), KEY_QUERY_VALUE | viewFlags_);
  return RegQueryValueExW(key.Get(), name, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
}

void RegistryScratch::Delete() const {
  RegDeleteTreeW(win::RegistryKey::Open(root_, path_.c_str(), KEY_ALL_ACCESS | viewFlags_).Get(), nullptr);
  RegDeleteKeyExW(root_, path_.c_str(), viewFlags_, 0);
}

}  // namespace testing_support
