#pragma once

#include <windows.h>
// Needs windows.h.
#include <oleauto.h>

#include <new>
#include <string>

#include "win/unique_resource.h"

namespace win {

template <typename Interface>
struct ComTraits {
  using Value = Interface*;
  static Value Invalid() noexcept { return nullptr; }
  static void Close(Value value) noexcept { value->Release(); }
};

/// A reference to a COM object. Its destructor releases it, and must run in the apartment in which the reference was
/// obtained.
template <typename Interface>
using UniqueCom = UniqueResource<ComTraits<Interface>>;

struct BstrTraits {
  using Value = BSTR;
  static Value Invalid() noexcept { return nullptr; }
  static void Close(Value value) noexcept { SysFreeString(value); }
};

using UniqueBstr = UniqueResource<BstrTraits>;

/// A copy of the whole of `text`, embedded NULs included. Throws std::bad_alloc. Any thread.
inline UniqueBstr MakeBstr(const std::wstring& text) {
  UniqueBstr string(SysAllocStringLen(text.c_str(), static_cast<UINT>(text.size())));
  if (!string) throw std::bad_alloc();
  return string;
}

}  // namespace win
