#include "lifecycle/startup_mask.h"

#include <windows.h>

#include <mutex>

#include "lifecycle/build_version.h"
#include "lifecycle/client_registry.h"
#include "lifecycle/crash_mark.h"
#include "win/registry_key.h"
#include "win/srw_lock.h"
#include "win/text.h"

namespace lifecycle {

namespace {

constexpr wchar_t kLatestBootableVersion[] = L"LatestBootableVersion";

/// Held while the mark is looked for and changed. So if several script workers enter at once, only one of them finds no
/// mark.
win::SrwLock startupLock;

/// An install directory that ends with a backslash gives two backslashes in the path.
std::string ExecutableOfThisBuild(const std::string& installDirectory) {
  return installDirectory + "\\bin\\" + kBuildVersion + "\\borvanta.exe";
}

/// Compatibility: compares all attributes at once, so a directory with any further attribute counts as a file.
bool IsFile(const std::string& path) {
  const DWORD attributes = GetFileAttributesA(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && attributes != FILE_ATTRIBUTE_DIRECTORY;
}

/// Records `executable`, a path in the ANSI code page. Returns false when there is no such file or the registry cannot
/// be written.
bool RecordBootable(const std::string& executable) {
  if (!IsFile(executable)) return false;
  return OpenClientKey(kInstallKey, KEY_SET_VALUE).WriteText(kLatestBootableVersion, win::AnsiToWide(executable));
}

/// The installer's note in the value `name`. Empty if it does not name this version.
std::string TakeInstallNote(const win::RegistryKey& notes, const wchar_t* name) {
  std::string version = win::WideToUtf8(notes.ReadText(name));
  if (version != kBuildVersion) return {};
  // Compatibility: the key is open for query only, so Windows refuses the deletion and the note stays.
  notes.DeleteValue(name);
  return version;
}

}  // namespace

StartupEntry EnterStartup() {
  const std::lock_guard guard(startupLock);
  StartupEntry entry;
  entry.hasMask = crash_marks::hasMark(kStartupMark, kBuildVersion);
  if (entry.hasMask) {
    const auto install = OpenClientKey(kInstallKey, KEY_QUERY_VALUE);
    entry.lastVersion = win::WideToUtf8(install.ReadText(kLatestBootableVersion));
  } else {
    crash_marks::setMark(kStartupMark, kBuildVersion);
  }
  return entry;
}

void ClearStartupMark() {
  const std::lock_guard guard(startupLock);
  if (crash_marks::hasMark(kStartupMark, kBuildVersion)) crash_marks::clearMark(kStartupMark, kBuildVersion);
}

StartupRecord RecordStartup() {
  StartupRecord record;
  const auto install = OpenClientKey(kInstallKey, KEY_QUERY_VALUE);
  if (!install) return record;
  // Compatibility: files are looked for and recorded in the ANSI code page, but script gets UTF-8.
  const std::string ansiDirectory = win::WideToAnsi(install.ReadText(nullptr));
  const std::string directory = win::WideToUtf8(install.ReadText(nullptr));
  if (RecordBootable(ExecutableOfThisBuild(ansiDirectory))) record.writeRegVersion = ExecutableOfThisBuild(directory);
  const auto notes = OpenClientKey(kInstallNotesKey, KEY_QUERY_VALUE);
  record.installVersion = TakeInstallNote(notes, L"currentinstallversion");
  // Compatibility: the installer writes the misspelt name.
  record.silentVersion = TakeInstallNote(notes, L"slientinstallversion");
  record.deleteFolderPath = directory + "\\bin";
  return record;
}

}  // namespace lifecycle
