#pragma once

#include <array>
#include <cstdint>
#include <cwchar>
#include <string>

namespace identity {

/// `value` in upper-case hex, with leading zeros if it has fewer than `width` digits. `width` is at most 8. Any thread.
inline std::wstring UpperHex(uint32_t value, int width) {
  std::array<wchar_t, 9> digits{};
  std::swprintf(digits.data(), digits.size(), L"%0*X", width, value);
  return digits.data();
}

}  // namespace identity
