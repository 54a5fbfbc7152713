#pragma once

#include <napi.h>

#include <string>

namespace addon {

/// A script string as UTF-16 for the system's wide interfaces, whole: embedded NULs and lone surrogates included.
/// Throws Napi::Error when `text` is not a string. Script thread.
inline std::wstring ToWide(const Napi::Value& text) {
  const std::u16string utf16 = text.As<Napi::String>().Utf16Value();
  return std::wstring(utf16.begin(), utf16.end());
}

}  // namespace addon
