#include "jank/frozen_memory.h"

#include <algorithm>
#include <new>

namespace jank {

namespace {

/// Address space costs next to nothing until it is committed, so there is plenty of it: a trace of millions of frames.
constexpr size_t kReserved = size_t{1} << 30;
constexpr size_t kFirstCommit = size_t{256} << 10;
constexpr size_t kPage = 4096;

}  // namespace

FrozenMemory::FrozenMemory()
    : base_(static_cast<std::byte*>(VirtualAlloc(nullptr, kReserved, MEM_RESERVE, PAGE_READWRITE))) {
  if (!base_ || !Commit(kFirstCommit)) throw std::bad_alloc();
}

bool FrozenMemory::HasRoomFor(size_t bytes) noexcept {
  // A full container of s bytes takes blocks of 2s, 4s, ... until s + bytes fit: less than 2s + 4 * bytes in all, and s
  // is at most used_. The page is for terminators and alignment.
  return bytes <= kReserved && Commit(3 * used_ + 4 * bytes + kPage);
}

void* FrozenMemory::do_allocate(size_t bytes, size_t alignment) {
  const size_t start = (used_ + alignment - 1) / alignment * alignment;
  if (bytes > kReserved || !Commit(start + bytes)) throw std::bad_alloc();
  used_ = start + bytes;
  return base_.Get() + start;
}

/// Sees to it that the first `bytes` bytes can be used.
bool FrozenMemory::Commit(size_t bytes) noexcept {
  if (bytes <= committed_) return true;
  if (bytes > kReserved) return false;
  // In steps that grow with the whole, so that their number stays small.
  const size_t wanted = std::min(kReserved, std::max(bytes, 2 * committed_) / kPage * kPage + kPage);
  if (!VirtualAlloc(base_.Get() + committed_, wanted - committed_, MEM_COMMIT, PAGE_READWRITE)) return false;
  committed_ = wanted;
  return true;
}

}  // namespace jank
