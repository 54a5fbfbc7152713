#pragma once

#include <windows.h>

#include <cstddef>
#include <span>

namespace testing_support {

/// A buffer whose end lies against a page without access: reading one byte past it ends the test program.
class GuardedBytes {
 public:
  explicit GuardedBytes(size_t size)
      : pages_((size + kPage - 1) / kPage * kPage),
        memory_(static_cast<BYTE*>(VirtualAlloc(nullptr, pages_ + kPage, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE))),
        size_(size) {
    DWORD before = 0;
    VirtualProtect(memory_ + pages_, kPage, PAGE_NOACCESS, &before);
  }
  ~GuardedBytes() { VirtualFree(memory_, 0, MEM_RELEASE); }
  GuardedBytes(const GuardedBytes&) = delete;
  GuardedBytes& operator=(const GuardedBytes&) = delete;

  std::span<BYTE> Get() const { return {memory_ + pages_ - size_, size_}; }

 private:
  static constexpr size_t kPage = 4096;
  size_t pages_;
  BYTE* memory_;
  size_t size_;
};

}  // namespace testing_support
