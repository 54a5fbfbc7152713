#include "win/registry_key.h"

#include <array>
#include <cstring>
#include <cwchar>

namespace win {

RegistryKey RegistryKey::Open(HKEY root, const wchar_t* path, REGSAM access) noexcept {
  RegistryKey key;
  if (RegOpenKeyExW(root, path, 0, access, key.key_.Receive()) != ERROR_SUCCESS) return {};
  return key;
}

RegistryKey RegistryKey::OpenAnsi(HKEY root, const char* path, REGSAM access) noexcept {
  RegistryKey key;
  if (RegOpenKeyExA(root, path, 0, access, key.key_.Receive()) != ERROR_SUCCESS) return {};
  return key;
}

RegistryKey RegistryKey::Create(HKEY root, const wchar_t* path, REGSAM access) noexcept {
  RegistryKey key;
  if (RegCreateKeyExW(root, path, 0, nullptr, REG_OPTION_NON_VOLATILE, access, nullptr, key.key_.Receive(), nullptr) !=
      ERROR_SUCCESS) {
    return {};
  }
  return key;
}

std::string RegistryKey::ReadAnsiText(const char* valueName) const {
  std::array<char, 1024> buffer{};
  DWORD size = static_cast<DWORD>(buffer.size());
  if (!key_ || RegQueryValueExA(key_.Get(), valueName, nullptr, nullptr, reinterpret_cast<BYTE*>(buffer.data()),
                                &size) != ERROR_SUCCESS) {
    return {};
  }
  return std::string(buffer.data(), strnlen(buffer.data(), buffer.size()));
}

std::wstring RegistryKey::ReadText(const wchar_t* valueName) const {
  std::array<wchar_t, 1024> buffer{};
  if (!ReadData(valueName, buffer.data(), sizeof(buffer))) return {};
  return std::wstring(buffer.data(), wcsnlen(buffer.data(), buffer.size()));
}

bool RegistryKey::ReadData(const wchar_t* valueName, void* buffer, DWORD size) const noexcept {
  return key_ &&
         RegQueryValueExW(key_.Get(), valueName, nullptr, nullptr, static_cast<BYTE*>(buffer), &size) == ERROR_SUCCESS;
}

std::wstring RegistryKey::SubKeyName(DWORD index) const {
  std::array<wchar_t, 260> buffer{};
  auto length = static_cast<DWORD>(buffer.size());
  if (!key_ ||
      RegEnumKeyExW(key_.Get(), index, buffer.data(), &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) {
    return {};
  }
  return std::wstring(buffer.data(), wcsnlen(buffer.data(), buffer.size()));
}

bool RegistryKey::WriteText(const wchar_t* valueName, const std::wstring& text) const noexcept {
  const auto bytes = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
  return key_ && RegSetValueExW(key_.Get(), valueName, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()), bytes) ==
                     ERROR_SUCCESS;
}

bool RegistryKey::WriteQword(const wchar_t* valueName, uint64_t value) const noexcept {
  return key_ && RegSetValueExW(key_.Get(), valueName, 0, REG_QWORD, reinterpret_cast<const BYTE*>(&value),
                                sizeof(value)) == ERROR_SUCCESS;
}

bool RegistryKey::DeleteValue(const wchar_t* valueName) const noexcept {
  return key_ && RegDeleteValueW(key_.Get(), valueName) == ERROR_SUCCESS;
}

}  // namespace win
