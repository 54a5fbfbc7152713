#pragma once

#include <array>
#include <cstdint>
#include <cwchar>
#include <string>

namespace identity {

/// `value` in upper-case hex digits, filled up with zeros to `width` of them, which is at most 8.
inline std::wstring UpperHex(uint32_t value, int width) {
  std::array<wchar_t, 9> text{};
  std::swprintf(text.data(), text.size(), L"%0*X", width, value);
  return text.data();
}

}  // namespace identity
