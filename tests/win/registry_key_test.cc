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

TEST(RegistryKey, CreatesWritesAndDeletesWithTheRightsThatItWasGiven) {
  const RegistryScratch scratch(HKEY_CURRENT_USER, kPath);
  {
    const auto writer = RegistryKey::Create(HKEY_CURRENT_USER, kPath, KEY_SET_VALUE);
    EXPECT_TRUE(writer.WriteText(L"text", L"\u4e2d"));
    EXPECT_TRUE(writer.WriteQword(L"number", 0x1122334455667788));
  }
  const auto reader = RegistryKey::Open(HKEY_CURRENT_USER, kPath, KEY_QUERY_VALUE);
  EXPECT_EQ(reader.ReadText(L"text"), L"\u4e2d");
  uint64_t number = 0;
  EXPECT_TRUE(reader.ReadData(L"number", &number, sizeof(number)));
  EXPECT_EQ(number, 0x1122334455667788U);
  EXPECT_FALSE(reader.ReadData(L"number", &number, 4)) << "longer than the buffer";
  EXPECT_FALSE(reader.DeleteValue(L"text")) << "a key opened for query only";
  EXPECT_TRUE(RegistryKey::Open(HKEY_CURRENT_USER, kPath, KEY_SET_VALUE).DeleteValue(L"text"));
  EXPECT_FALSE(scratch.Has(L"text"));
}
