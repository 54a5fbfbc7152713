#include "win/text.h"

namespace win {

namespace {

/// Passed as the length of a string: the system converts up to the first NUL, and the size that it returns includes the
/// NUL.
constexpr int kUpToTerminator = -1;

}  // namespace

std::string WideToNarrow(UINT codePage, const std::wstring& text) {
  const int size = WideCharToMultiByte(codePage, 0, text.c_str(), kUpToTerminator, nullptr, 0, nullptr, nullptr);
  if (size <= 1) return {};
  std::string narrow(static_cast<size_t>(size), '\0');
  if (!WideCharToMultiByte(codePage, 0, text.c_str(), kUpToTerminator, narrow.data(), size, nullptr, nullptr)) {
    return {};
  }
  narrow.pop_back();
  return narrow;
}

std::wstring NarrowToWide(UINT codePage, const std::string& text) {
  const int size = MultiByteToWideChar(codePage, 0, text.c_str(), kUpToTerminator, nullptr, 0);
  if (size <= 1) return {};
  std::wstring wide(static_cast<size_t>(size), L'\0');
  if (!MultiByteToWideChar(codePage, 0, text.c_str(), kUpToTerminator, wide.data(), size)) return {};
  wide.pop_back();
  return wide;
}

}  // namespace win
