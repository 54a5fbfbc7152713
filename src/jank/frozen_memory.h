#pragma once

#include <windows.h>

#include <cstddef>
#include <type_traits>

#include "win/unique_resource.h"

namespace jank {

/// Memory for the time in which a thread is frozen. It is there for clients that capture a thread of their own process,
/// although docs/api.md advises against that: the thread may hold the heap's lock, and an allocation from the heap
/// would then wait for ever. This memory comes from the system page by page. It grows in place, never moves, and is
/// given back as a whole by the destructor. One thread.
class FrozenMemory {
 public:
  /// Reserves the address space and commits the first pages. False if the system refuses that.
  FrozenMemory() noexcept;
  explicit operator bool() const noexcept { return committed_ > 0; }

  /// Returns `bytes` more bytes, directly after those of the previous call, or null if there is no memory for them.
  std::byte* Extend(size_t bytes) noexcept;

  const std::byte* Begin() const noexcept { return base_.Get(); }
  size_t Size() const noexcept { return used_; }

 private:
  struct AddressSpace {
    using Value = std::byte*;
    static Value Invalid() noexcept { return nullptr; }
    static void Close(Value value) noexcept { VirtualFree(value, 0, MEM_RELEASE); }
  };

  bool Commit(size_t bytes) noexcept;

  win::UniqueResource<AddressSpace> base_;
  size_t used_ = 0;
  size_t committed_ = 0;
};

/// A growing array of plain values in its own FrozenMemory.
template <typename Item>
class FrozenArray {
  static_assert(std::is_trivially_copyable_v<Item> && std::is_trivially_destructible_v<Item>);

 public:
  explicit operator bool() const noexcept { return static_cast<bool>(memory_); }

  /// Appends `count` items for the caller to fill. Null if there is no memory for them.
  Item* Extend(size_t count) noexcept { return reinterpret_cast<Item*>(memory_.Extend(count * sizeof(Item))); }

  const Item* begin() const noexcept { return reinterpret_cast<const Item*>(memory_.Begin()); }
  const Item* end() const noexcept { return begin() + memory_.Size() / sizeof(Item); }

 private:
  FrozenMemory memory_;
};

}  // namespace jank
