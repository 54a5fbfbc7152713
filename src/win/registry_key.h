#pragma once

#include <windows.h>

#include <cstdint>
#include <string>

#include "win/unique_resource.h"

namespace win {

/// An open registry key, closed by its destructor, with the few ways in which this module reads and writes values.
/// Every operation on a key that could not be opened fails the way a failing system call does; those that are not
/// noexcept throw std::bad_alloc. Not thread-safe.
class RegistryKey {
 public:
  /// Opens an existing key; false in the result when it is missing or access is refused. `access` is the whole access
  /// mask, registry view flags included.
  static RegistryKey Open(HKEY root, const wchar_t* path, REGSAM access) noexcept;

  /// The same through the ANSI interface.
  static RegistryKey OpenAnsi(HKEY root, const char* path, REGSAM access) noexcept;

  /// Opens a key, and creates it where it is missing.
  static RegistryKey Create(HKEY root, const wchar_t* path, REGSAM access) noexcept;

  RegistryKey() noexcept = default;

  explicit operator bool() const noexcept { return static_cast<bool>(key_); }

  /// The raw key, still owned by this object; null when none is open.
  HKEY Get() const noexcept { return key_.Get(); }

  /// A value's text through the ANSI interface, exactly the bytes that the system returns, up to the first NUL. The
  /// value's type is not looked at. Empty when the value is missing or longer than 1,024 bytes.
  std::string ReadAnsiText(const char* valueName) const;

  /// A value's UTF-16 text up to the first NUL. The value's type is not looked at. Empty when the value is missing or
  /// longer than 2,048 bytes. `valueName` null or empty means the key's default value.
  std::wstring ReadText(const wchar_t* valueName) const;

  /// Reads a value's data into `buffer`, whatever its type, and returns whether it is there and fits into `size` bytes.
  /// Shorter data leaves the rest of the buffer as it was.
  bool ReadData(const wchar_t* valueName, void* buffer, DWORD size) const noexcept;

  /// The name of the sub-key at `index`, counted from 0; empty past the last one, as after any other failure.
  std::wstring SubKeyName(DWORD index) const;

  /// Writes `text` with its terminator as REG_SZ; returns whether that succeeded.
  bool WriteText(const wchar_t* valueName, const std::wstring& text) const noexcept;

  /// Writes a REG_QWORD; returns whether that succeeded.
  bool WriteQword(const wchar_t* valueName, uint64_t value) const noexcept;

  /// Deletes a value; returns whether that succeeded. The system refuses it on a key opened for query only.
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
