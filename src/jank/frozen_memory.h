#pragma once

#include <cstddef>
#include <memory_resource>

#include "win/unique_resource.h"

namespace jank {

/// Memory for the time in which a thread is frozen. That thread may be one of our own process and may have been stopped
/// while it held the lock of the process heap; whoever allocates from the heap then waits for ever. This memory comes
/// from the system page by page instead, and is given back all at once by the destructor. For one thread.
class FrozenMemory final : public std::pmr::memory_resource {
 public:
  /// Reserves the address space and commits the first pages. Throws std::bad_alloc when that fails. Not to be called
  /// while a thread is frozen.
  FrozenMemory();

  /// True when a container that lives here can be given `bytes` bytes more, piece by piece if need be, without failing.
  /// To be asked before that is done: a failing allocation raises an exception, whose own memory would come from the
  /// heap.
  bool HasRoomFor(size_t bytes) noexcept;

 private:
  struct AddressSpace {
    using Value = std::byte*;
    static Value Invalid() noexcept { return nullptr; }
    static void Close(Value value) noexcept { VirtualFree(value, 0, MEM_RELEASE); }
  };

  void* do_allocate(size_t bytes, size_t alignment) override;
  /// Nothing is given back before the whole is.
  void do_deallocate(void*, size_t, size_t) noexcept override {}
  bool do_is_equal(const std::pmr::memory_resource& other) const noexcept override { return this == &other; }

  bool Commit(size_t bytes) noexcept;

  win::UniqueResource<AddressSpace> base_;
  size_t used_ = 0;
  size_t committed_ = 0;
};

}  // namespace jank
