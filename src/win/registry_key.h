#pragma once

#include <windows.h>

#include <cstdint>
#include <string>

#include "win/unique_resource.h"

namespace win {

/// An open registry key, closed by its destructor. Reads and writes values in the few ways that this module needs. On a
/// key that could not be opened every operation fails. Functions that are not noexcept throw std::bad_alloc when memory
/// runs out. One thread.
class RegistryKey {
 public:
  /// Opens an existing key. The result is false when the key is missing or access is refused. `access` is the whole
  /// access mask, with the flags of the registry view.
  static RegistryKey Open(HKEY root, const wchar_t* path, REGSAM access) noexcept;

  /// The same through the ANSI interface.
  static RegistryKey OpenAnsi(HKEY root, const char* path, REGSAM access) noexcept;

  /// Opens a key and creates it if it is missing.
  static RegistryKey Create(HKEY root, const wchar_t* path, REGSAM access) noexcept;

  RegistryKey() noexcept = default;

  explicit operator bool() const noexcept { return static_cast<bool>(key_); }

  /// A value through the ANSI interface: the bytes that the system returns, up to the first NUL. The value's type does
  /// not matter. Empty when the value is missing or longer than 1,024 bytes.
  std::string ReadAnsiText(const char* valueName) const;

  /// A value as UTF-16, up to the first NUL. The value's type does not matter. Empty when the value is missing or
  /// longer than 2,048 bytes. A null or empty `valueName` means the key's default value.
  std::wstring ReadText(const wchar_t* valueName) const;

  /// Reads a value's data into `buffer`, whose size is `size` bytes. The value's type does not matter. Returns false
  /// when the value is missing or longer than `size`. Shorter data leaves the rest of the buffer unchanged.
  bool ReadData(const wchar_t* valueName, void* buffer, DWORD size) const noexcept;

  /// The name of the sub-key at `index`, counted from 0. Empty after the last one and after any failure.
  std::wstring SubKeyName(DWORD index) const;

  /// Writes `text` with its terminator as REG_SZ. Returns whether that succeeded.
  bool WriteText(const wchar_t* valueName, const std::wstring& text) const noexcept;

  /// Writes a REG_QWORD. Returns whether that succeeded.
  bool WriteQword(const wchar_t* valueName, uint64_t value) const noexcept;

  /// Deletes a value. Returns whether that succeeded. Windows refuses it on a key that is open for query only.
  bool DeleteValue(const wchar_t* valueName) const noexcept;

 private:
  struct Traits {
    using Value = HKEY;
    static Value Invalid() noexcept { return nullptr; }
    static void Close(Value value) noexcept { RegCloseKey(value); }
  };

  UniqueResource<Traits> key_;
};

}  // namespace win
