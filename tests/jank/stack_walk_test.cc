#include "jank/stack_walk.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "jank/frozen_memory.h"

using jank::FrozenMemory;

TEST(StackWalk, NamesTheFirstModuleThatHoldsTheAddress) {
  FrozenMemory memory;
  jank::ModuleList modules(&memory);
  const auto add = [&](const wchar_t* name, DWORD64 base, ULONG size) {
    EXPECT_TRUE(jank::OnLoadedModule(name, base, size, &modules));
  };
  add(L"C:\\windows\\a.dll", 0x1000, 0x100);
  add(L"overlaps.dll", 0x1080, 0x1000);
  add(L"C:\\empty.dll", 0x9000, 0);
  add(L"D:\\top.dll", 0xFFFFFFFFFFFFF000, 0x1000);
  std::pmr::string trace(&memory);
  for (const uint64_t address : {0x1000ULL, 0x10FFULL, 0x1100ULL, 0x9000ULL, 0xFFFULL, 0ULL, 0xFFFFFFFFFFFFFABCULL}) {
    EXPECT_TRUE(jank::AppendFrame(trace, modules, address));
  }
  EXPECT_EQ(trace,
            "a.dll!0x0\r\na.dll!0xff\r\noverlaps.dll!0x80\r\n<unknown>!0x9000\r\n<unknown>!0xfff\r\n<unknown>!0x0\r\n"
            "top.dll!0xabc\r\n");
}

TEST(StackWalk, ConvertsModuleNamesOfAnyLengthToTheAnsiCodePage) {
  FrozenMemory memory;
  jank::ModuleList modules(&memory);
  const std::wstring longName(30'000, L'\u00e4');
  jank::OnLoadedModule(L"C:\\a\\\u4e2d\u00e4\xd83d\xde00.dll", 1, 1, &modules);
  jank::OnLoadedModule(longName.c_str(), 1, 1, &modules);
  jank::OnLoadedModule(L"C:\\ends with\\", 1, 1, &modules);
  const auto ansi = [](const wchar_t* text) {
    std::string narrow(64, '\0');
    narrow.resize(static_cast<size_t>(
        WideCharToMultiByte(CP_ACP, 0, text, static_cast<int>(wcslen(text)), narrow.data(), 64, nullptr, nullptr)));
    return narrow;
  };
  EXPECT_EQ(std::string(modules[0].name), ansi(L"\u4e2d\u00e4\xd83d\xde00.dll"));
  EXPECT_EQ(modules[1].name.size(), 30'000 * ansi(L"\u00e4").size());
  EXPECT_EQ(modules[2].name, "");
}

TEST(FrozenMemory, SaysBeforehandWhenItDoesNotSuffice) {
  FrozenMemory memory;
  EXPECT_TRUE(memory.HasRoomFor(size_t{1} << 20));
  EXPECT_FALSE(memory.HasRoomFor(size_t{1} << 29));
  EXPECT_FALSE(memory.HasRoomFor(SIZE_MAX));
  EXPECT_THROW(std::ignore = memory.allocate(size_t{1} << 31), std::bad_alloc);

  std::pmr::string trace(&memory);
  jank::ModuleList modules(&memory);
  std::ignore = memory.allocate(size_t{400} << 20);
  EXPECT_FALSE(jank::AppendFrame(trace, modules, 1));
  EXPECT_TRUE(jank::OnLoadedModule(L"a.dll", 1, 1, &modules)) << "the enumeration goes on";
  EXPECT_TRUE(trace.empty() && modules.empty());
}
