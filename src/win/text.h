#pragma once

#include <windows.h>

#include <string>

namespace win {

// Every conversion throws std::bad_alloc when memory runs out.

/// Converts UTF-16 to the given code page (CP_UTF8, CP_ACP, CP_THREAD_ACP...). Text after an embedded NUL is dropped.
/// Characters that the code page lacks come out as its default character. Empty when the conversion fails. Any thread.
std::string WideToNarrow(UINT codePage, const std::wstring& text);

/// Converts from the given code page to UTF-16. Text after an embedded NUL is dropped. Empty when the conversion
/// fails. Any thread.
std::wstring NarrowToWide(UINT codePage, const std::string& text);

/// UTF-16 to UTF-8, for names and paths that go to script. Lone surrogates come out as U+FFFD.
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

/// UTF-16 to the calling thread's ANSI code page. The identity texts are handed to script in these bytes as if they
/// were UTF-8: deliberate, the client has always read them so.
inline std::string WideToThreadAnsi(const std::wstring& text) {
  return WideToNarrow(CP_THREAD_ACP, text);
}

/// The calling thread's ANSI code page to UTF-16.
inline std::wstring ThreadAnsiToWide(const std::string& text) {
  return NarrowToWide(CP_THREAD_ACP, text);
}

}  // namespace win
