#include "lifecycle/startup_mask.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "lifecycle/gpu_preference.h"
#include "support/import_patch.h"
#include "support/registry_scratch.h"
#include "support/temp_folder.h"
#include "win/registry_key.h"
#include "win/text.h"

using lifecycle::RecordStartup;
using testing_support::ImportPatch;
using testing_support::RegistryScratch;
using testing_support::TempFolder;

namespace {

constexpr wchar_t kInstallKey[] = L"SOFTWARE\\Borvanta";
constexpr wchar_t kExecutable[] = L"\\bin\\5.165.3.4096\\borvanta.exe";

/// An installed client: its folder and its install key.
class StartupMask : public testing::Test {
 protected:
  /// Installs into a folder whose name ends with `name`, and returns the folder's path.
  std::wstring Install(const std::wstring& name) const {
    std::wstring directory = folder_.Prefix() + name;
    std::filesystem::create_directories(directory + L"\\bin\\5.165.3.4096");
    client_.SetText(L"", directory);
    return directory;
  }

  std::wstring LatestBootable() const {
    return win::RegistryKey::Open(HKEY_LOCAL_MACHINE, kInstallKey, KEY_QUERY_VALUE | KEY_WOW64_32KEY)
        .ReadText(L"LatestBootableVersion");
  }

  const RegistryScratch client_{HKEY_LOCAL_MACHINE, kInstallKey, KEY_WOW64_32KEY};
  const TempFolder folder_;
};

void MakeFile(const std::wstring& path) {
  std::ofstream(std::filesystem::path(path)) << "MZ";
}

/// A letter outside ASCII that the ANSI code page has; empty when it has none.
std::wstring AnsiLetter() {
  for (wchar_t letter = 0xA1; letter < 0xFFFF; ++letter) {
    if (win::AnsiToWide(win::WideToAnsi({letter})) == std::wstring{letter}) return {letter};
  }
  return {};
}

std::vector<std::pair<std::wstring, REGSAM>> opened;
auto* const realRegOpenKeyExW =
    testing_support::RealFunction<decltype(RegOpenKeyExW)>(L"advapi32.dll", "RegOpenKeyExW");

LSTATUS WINAPI RecordOpening(HKEY root, LPCWSTR path, DWORD options, REGSAM access, PHKEY key) {
  opened.emplace_back(path, access);
  return realRegOpenKeyExW(root, path, options, access, key);
}

auto* const realRegCreateKeyExW =
    testing_support::RealFunction<decltype(RegCreateKeyExW)>(L"advapi32.dll", "RegCreateKeyExW");

LSTATUS WINAPI RecordCreation(HKEY root, LPCWSTR path, DWORD reserved, LPWSTR keyClass, DWORD options, REGSAM access,
                              LPSECURITY_ATTRIBUTES security, PHKEY key, LPDWORD disposition) {
  opened.emplace_back(path, access);
  return realRegCreateKeyExW(root, path, reserved, keyClass, options, access, security, key, disposition);
}

}  // namespace

TEST_F(StartupMask, RecordsAnExecutableOutsideAscii) {
  const std::wstring letter = AnsiLetter();
  if (letter.empty()) GTEST_SKIP() << "this system's ANSI code page is ASCII alone";
  const std::wstring directory = Install(letter);
  MakeFile(directory + kExecutable);
  const auto record = RecordStartup();
  EXPECT_EQ(record.writeRegVersion, win::WideToUtf8(directory + kExecutable));
  EXPECT_EQ(LatestBootable(), directory + kExecutable);
  EXPECT_EQ(record.deleteFolderPath, win::WideToUtf8(directory + L"\\bin"));
}

TEST_F(StartupMask, DoesNotFindAnExecutableThatTheAnsiCodePageCannotName) {
  if (GetACP() == CP_UTF8) GTEST_SKIP() << "this system's ANSI code page names everything";
  const std::wstring directory = Install(L"\u0939\u4e2d\xd83d\xde00");
  MakeFile(directory + kExecutable);
  client_.SetText(L"LatestBootableVersion", L"before");
  const auto record = RecordStartup();
  EXPECT_EQ(record.writeRegVersion, std::nullopt);
  EXPECT_EQ(LatestBootable(), L"before");
  EXPECT_EQ(record.deleteFolderPath, win::WideToUtf8(directory + L"\\bin")) << "read as UTF-8 all the same";
}

TEST_F(StartupMask, TakesADirectoryForTheExecutableOnlyWithAFurtherAttribute) {
  const std::wstring directory = Install(L"client");
  EXPECT_EQ(RecordStartup().writeRegVersion, std::nullopt) << "there is nothing";
  std::filesystem::create_directory(directory + kExecutable);
  EXPECT_EQ(RecordStartup().writeRegVersion, std::nullopt);
  ASSERT_TRUE(SetFileAttributesW((directory + kExecutable).c_str(), FILE_ATTRIBUTE_HIDDEN));
  EXPECT_EQ(RecordStartup().writeRegVersion, win::WideToUtf8(directory + kExecutable));
}

TEST_F(StartupMask, TakesTheInstallDirectoryAsItStands) {
  client_.SetText(L"", L"D:\\Apps\\");
  EXPECT_EQ(RecordStartup().deleteFolderPath, "D:\\Apps\\\\bin");
  client_.SetText(L"", std::wstring(1024, L'x'));
  EXPECT_EQ(RecordStartup().deleteFolderPath, "\\bin") << "too long to be read";
  client_.Delete();
  EXPECT_EQ(RecordStartup().deleteFolderPath, std::nullopt);
}

TEST_F(StartupMask, TakesInstallNotesOfExactlyThisVersion) {
  client_.SetText(L"", L"D:\\Apps");
  const RegistryScratch notes(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Borvanta\\version", KEY_WOW64_32KEY);
  for (const wchar_t* other : {L"5.165.3.4096 ", L"5.165.3.409", L"5.165.3.4097", L"05.165.3.4096", L""}) {
    notes.SetText(L"currentinstallversion", other);
    notes.SetText(L"slientinstallversion", other);
    EXPECT_EQ(RecordStartup().installVersion, std::nullopt);
    EXPECT_EQ(RecordStartup().silentVersion, std::nullopt);
  }
  notes.SetText(L"slientinstallversion", L"5.165.3.4096");
  EXPECT_EQ(RecordStartup().installVersion, std::nullopt);
  EXPECT_EQ(RecordStartup().silentVersion, "5.165.3.4096");
  EXPECT_EQ(RecordStartup().silentVersion, "5.165.3.4096") << "the system refuses the removal";
}

TEST_F(StartupMask, OpensKeysWithTheRightsAndViewsThatTheyNeed) {
  const std::wstring directory = Install(L"client");
  MakeFile(directory + kExecutable);
  const RegistryScratch marks(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Borvanta\\mark", KEY_WOW64_32KEY);
  lifecycle::ClearStartupMark();  // Makes the store, which opens keys of its own.
  const ImportPatch recorder("RegOpenKeyExW", &RecordOpening);
  const ImportPatch creationRecorder("RegCreateKeyExW", &RecordCreation);
  const auto openedBy = [](auto&& work) {
    opened.clear();
    work();
    return std::exchange(opened, {});
  };
  using Opened = decltype(opened);
  constexpr REGSAM kRead = 0x201;
  constexpr REGSAM kWrite = 0x202;
  const std::wstring install = L"SOFTWARE\\Borvanta";
  const std::wstring mark = install + L"\\mark";

  EXPECT_EQ(openedBy([] { lifecycle::EnterStartup(); }), (Opened{{mark, kRead}, {mark, kRead}, {mark, kWrite}}))
      << "enters anew";
  Sleep(2);  // A mark is not seen in the millisecond in which it was set.
  EXPECT_EQ(openedBy([] { lifecycle::EnterStartup(); }), (Opened{{mark, kRead}, {install, kRead}})) << "finds the mark";
  EXPECT_EQ(openedBy([] { lifecycle::ClearStartupMark(); }), (Opened{{mark, kRead}, {mark, kWrite}}));
  const int64_t longAgo = 1;
  marks.Set(L"esn5.165.3.4096", REG_QWORD, &longAgo, sizeof(longAgo));
  EXPECT_EQ(openedBy([] { lifecycle::ClearStartupMark(); }), (Opened{{mark, kRead}, {mark, kWrite}})) << "purges";
  EXPECT_FALSE(marks.Has(L"esn5.165.3.4096"));
  EXPECT_EQ(openedBy([] { RecordStartup(); }),
            (Opened{{install, kRead}, {install, kWrite}, {install + L"\\version", kRead}}));
  EXPECT_EQ(openedBy([] { lifecycle::RemoveGpuPreference(L"x"); }),
            (Opened{{L"Software\\Microsoft\\DirectX\\UserGpuPreferences", KEY_QUERY_VALUE}}));
}
