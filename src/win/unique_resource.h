#pragma once

#include <windows.h>

#include <utility>

namespace win {

/// Owns one resource of a C interface and frees it in its destructor. Movable, not copyable, not thread-safe.
///
/// `Traits` names the resource's `Value` type, its `Invalid()` value, and `Close(Value)`, which is never called with
/// the invalid value. The invalid value depends on the kind of resource: it is null for kernel objects, but
/// INVALID_HANDLE_VALUE for files and snapshots. So each kind is a separate type, and no resource can be tested against
/// the wrong value by mistake.
template <typename Traits>
class UniqueResource {
 public:
  using Value = typename Traits::Value;

  UniqueResource() noexcept = default;
  explicit UniqueResource(Value value) noexcept : value_(value) {}
  ~UniqueResource() { Reset(); }

  UniqueResource(UniqueResource&& other) noexcept : value_(other.Release()) {}
  UniqueResource& operator=(UniqueResource&& other) noexcept {
    if (this != &other) Reset(other.Release());
    return *this;
  }
  UniqueResource(const UniqueResource&) = delete;
  UniqueResource& operator=(const UniqueResource&) = delete;

  explicit operator bool() const noexcept { return value_ != Traits::Invalid(); }

  /// The resource, still owned by this object.
  Value Get() const noexcept { return value_; }

  /// Closes the current resource. Returns the address for an out-parameter, through which a function stores a new
  /// resource.
  Value* Receive() noexcept {
    Reset();
    return &value_;
  }

  /// Closes the current resource and owns `value` instead.
  void Reset(Value value = Traits::Invalid()) noexcept {
    if (value_ != Traits::Invalid()) Traits::Close(value_);
    value_ = value;
  }

  /// Returns the resource and no longer owns it: the caller must close it.
  [[nodiscard]] Value Release() noexcept { return std::exchange(value_, Traits::Invalid()); }

 private:
  Value value_ = Traits::Invalid();
};

struct KernelHandleTraits {
  using Value = HANDLE;
  static Value Invalid() noexcept { return nullptr; }
  static void Close(Value value) noexcept { CloseHandle(value); }
};

struct FileHandleTraits {
  using Value = HANDLE;
  static Value Invalid() noexcept { return INVALID_HANDLE_VALUE; }
  static void Close(Value value) noexcept { CloseHandle(value); }
};

struct LibraryTraits {
  using Value = HMODULE;
  static Value Invalid() noexcept { return nullptr; }
  static void Close(Value value) noexcept { FreeLibrary(value); }
};

/// A process, thread, mutex or other kernel object whose opening function fails with null.
using UniqueHandle = UniqueResource<KernelHandleTraits>;

/// A file, device or snapshot, whose opening function fails with INVALID_HANDLE_VALUE.
using UniqueFile = UniqueResource<FileHandleTraits>;

using UniqueLibrary = UniqueResource<LibraryTraits>;

}  // namespace win
