// Gives random answers to the code that reads disks and performance counters: hostile_answers COUNT SEED. The memory
// directly behind each answer cannot be read.

#include <windows.h>

// Every build of this program needs its assertions.
#undef NDEBUG
#include <cassert>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "gpu_usage/usage_accumulator.h"
#include "identity/smart_identify.h"
#include "identity/storage_property.h"

namespace {

std::mt19937 randomBits;

unsigned Below(size_t end) {
  return static_cast<unsigned>(randomBits() % end);
}

/// Random numbers, most of them from `likely`.
template <typename T>
std::vector<T> RandomItems(size_t count, std::initializer_list<T> likely) {
  std::vector<T> items(count);
  for (T& item : items) {
    const auto bits = randomBits();
    item = bits % 4 ? likely.begin()[bits / 4 % likely.size()] : static_cast<T>((bits >> 16) & T(-1));
  }
  return items;
}

/// Copies `items` to a place directly before unreadable memory. The copy is valid until the next call.
template <typename T>
std::span<const T> AtGuardPage(std::span<const T> items) {
  constexpr size_t kPage = 4096;
  static void* const pages = VirtualAlloc(nullptr, 2 * kPage, MEM_RESERVE, PAGE_NOACCESS);
  static auto* const page = static_cast<BYTE*>(VirtualAlloc(pages, kPage, MEM_COMMIT, PAGE_READWRITE));
  void* const start = page + kPage - items.size_bytes();
  std::memcpy(start, items.data(), items.size_bytes());
  return {static_cast<const T*>(start), items.size()};
}

void ReadOneOfEach() {
  const auto bytes = RandomItems<BYTE>(1 + Below(300), {0, 0, 0, 0, 13, 40, 'x'});
  identity::DiskRecord disk;
  identity::ReadDeviceDescriptor(AtGuardPage<BYTE>(bytes), disk);
  for (const auto& string : {disk.productId, disk.serialNumber, disk.vendorId, disk.productRevision})
    assert(string.size() < bytes.size());

  const auto words = RandomItems<uint16_t>(identity::IdentifyData::extent, {0, 0x2020, 0x20, 0x4040, 0x80});
  identity::ReadIdentifyData(identity::IdentifyData(AtGuardPage<uint16_t>(words)), disk);
  assert(disk.serialNumber.size() <= 20 && disk.productRevision.size() <= 8);

  const auto characters = RandomItems<wchar_t>(Below(9), {L'_', L'1', L'3', L'V', L'v'});
  std::wstring name(characters.begin(), characters.end());
  name += std::wstring_view(L"pid_1_engtype_3D_engtype_VideoDecode").substr(Below(9), Below(37));
  gpu_usage::UsageAccumulator usage(1, 12);
  usage.Add(AtGuardPage<wchar_t>({name.c_str(), name.size() + 1}).data(), 1);
  assert(usage.Result().sys3d <= 1);
}

}  // namespace

int main(int /*argc*/, char** argv) {
  // Japanese: its characters have one byte or two.
  SetThreadLocale(0x0411);
  randomBits.seed(static_cast<unsigned>(std::atoi(argv[2])));
  for (int round = 0; round < std::atoi(argv[1]); ++round)
    ReadOneOfEach();
  std::printf("%s rounds with seed %s\n", argv[1], argv[2]);
}
