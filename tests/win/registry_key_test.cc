#include "win/registry_key.h"

#include <gtest/gtest.h>

#include "support/registry_scratch.h"

using testing_support::RegistryScratch;
using win::RegistryKey;

namespace {

constexpr wchar_t kPath[] = L"Software\\BorvantaUtilTests\\RegistryKey";

}  // namespace

TEST(RegistryKey, ReadsTextUpToTheBufferAndNotBeyond) {
  const RegistryScratch scratch(HKEY_CURRENT_USER, kPath);
  const std::wstring longest(1023, L'x');
  scratch.SetText(L"longest", longest);
  scratch.SetText(L"tooLong", longest + L"x");
  const std::wstring unterminated(1024, L'u');
  scratch.Set(L"unterminated", REG_BINARY, unterminated.data(), 2048);
  scratch.Set(L"number", REG_DWORD, L"AB", 4);
  scratch.SetText(nullptr, L"ignored");
  scratch.SetText(L"", L"the default");

  const auto key = RegistryKey::Open(HKEY_CURRENT_USER, kPath, KEY_QUERY_VALUE);
  ASSERT_TRUE(key);
  EXPECT_EQ(key.ReadText(L"longest"), longest);
  EXPECT_EQ(key.ReadText(L"tooLong"), L"");
  EXPECT_EQ(key.ReadText(L"unterminated"), unterminated);
  EXPECT_EQ(key.ReadText(L"number"), L"AB") << "the type is not looked at";
  EXPECT_EQ(key.ReadText(nullptr), L"the default");
  EXPECT_EQ(key.ReadText(L"absent"), L"");
}

TEST(RegistryKey, ReadsAnsiTextUpToTheBufferAndNotBeyond) {
  const RegistryScratch scratch(HKEY_CURRENT_USER, kPath);
  scratch.SetText(L"longest", std::wstring(1023, L'x'));
  scratch.SetText(L"tooLong", std::wstring(1024, L'x'));
  scratch.Set(L"embedded", REG_SZ, L"a\0b", 8);
  scratch.Set(L"full", REG_BINARY, std::string(1024, 'y').data(), 1024);

  const auto key =
      RegistryKey::OpenAnsi(HKEY_CURRENT_USER, "Software\\BorvantaUtilTests\\RegistryKey", KEY_QUERY_VALUE);
  EXPECT_EQ(key.ReadAnsiText("longest"), std::string(1023, 'x'));
  EXPECT_EQ(key.ReadAnsiText("tooLong"), "");
  EXPECT_EQ(key.ReadAnsiText("embedded"), "a");
  EXPECT_EQ(key.ReadAnsiText("full"), std::string(1024, 'y'));
}
