#include "jank/frozen_memory.h"

#include <algorithm>

namespace jank {

namespace {

/// Address space costs almost nothing until it is committed. So a lot is reserved, enough for a trace of millions of
/// frames.
constexpr size_t kReserved = size_t{1} << 28;
constexpr size_t kFirstCommit = size_t{1} << 16;

}  // namespace

FrozenMemory::FrozenMemory() noexcept
    : base_(static_cast<std::byte*>(VirtualAlloc(nullptr, kReserved, MEM_RESERVE, PAGE_READWRITE))) {
  Commit(kFirstCommit);
}

std::byte* FrozenMemory::Extend(size_t bytes) noexcept {
  if (bytes > kReserved - used_ || !Commit(used_ + bytes)) return nullptr;
  std::byte* const added = base_.Get() + used_;
  used_ += bytes;
  return added;
}

bool FrozenMemory::Commit(size_t bytes) noexcept {
  if (!base_) return false;
  if (bytes <= committed_) return true;
  // The committed size at least doubles, so that few steps are needed.
  const size_t wanted = std::min(kReserved, std::max(bytes, 2 * committed_));
  if (!VirtualAlloc(base_.Get(), wanted, MEM_COMMIT, PAGE_READWRITE)) return false;
  committed_ = wanted;
  return true;
}

}  // namespace jank
