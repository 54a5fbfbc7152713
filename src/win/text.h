#pragma once

#include <windows.h>

#include <string>

namespace win {

// Every conversion throws std::bad_alloc when memory runs out. Any thread.

/// Converts UTF-16 to the given code page (CP_UTF8, CP_ACP, CP_THREAD_ACP...), up to the first NUL. A character that
/// the code page does not have becomes the code page's default character. Empty when the conversion fails.
std::string WideToNarrow(UINT codePage, const std::wstring& text);

/// Converts from the given code page to UTF-16, up to the first NUL. Empty when the conversion fails.
std::wstring NarrowToWide(UINT codePage, const std::string& text);

/// UTF-16 to UTF-8, for names and paths that script gets. A lone surrogate becomes U+FFFD.
inline std::string WideToUtf8(const std::wstring& text) {
  return WideToNarrow(CP_UTF8, text);
}

/// UTF-16 to the system's ANSI code page, for files and registry names.
inline std::string WideToAnsi(const std::wstring& text) {
  return WideToNarrow(CP_ACP, text);
}

/// The system's ANSI code page to UTF-16.
inline std::wstring AnsiToWide(const std::string& text) {
  return NarrowToWide(CP_ACP, text);
}

/// UTF-16 to the ANSI code page of the calling thread. What script gets from it is plain ASCII, and so UTF-8 too.
inline std::string WideToThreadAnsi(const std::wstring& text) {
  return WideToNarrow(CP_THREAD_ACP, text);
}

/// The ANSI code page of the calling thread to UTF-16.
inline std::wstring ThreadAnsiToWide(const std::string& text) {
  return NarrowToWide(CP_THREAD_ACP, text);
}

}  // namespace win
