#include "lifecycle/startup_mask.h"

#include <windows.h>

#include "lifecycle/build_version.h"
#include "lifecycle/client_registry.h"
#include "lifecycle/crash_mark.h"
#include "win/registry_key.h"
#include "win/text.h"

namespace lifecycle {

namespace {

constexpr wchar_t kLatestBootableVersion[] = L"LatestBootableVersion";

/// The install directory is taken as it stands: one that ends with a backslash gives two in the path.
std::string ExecutableOfThisBuild(const std::string& installDirectory) {
  return installDirectory + "\\bin\\" + kBuildVersion + "\\borvanta.exe";
}

/// Deliberately compares the whole of the attributes: a directory that carries any further bit passes for the file.
bool IsFile(const std::string& path) {
  const DWORD attributes = GetFileAttributesA(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && attributes != FILE_ATTRIBUTE_DIRECTORY;
}

/// Records a path in the ANSI code page; false when there is no such file or the registry cannot be written.
bool RecordBootable(const std::string& executable) {
  if (!IsFile(executable)) return false;
  return OpenClientKey(kInstallKey, KEY_SET_VALUE).WriteText(kLatestBootableVersion, win::AnsiToWide(executable));
}

/// The installer's note in the value `name`, if it is about this version.
std::optional<std::string> TakeInstallNote(const win::RegistryKey& notes, const wchar_t* name) {
  std::string version = win::WideToUtf8(notes.ReadText(name));
  if (version != kBuildVersion) return std::nullopt;
  // Deliberately on the key that is open for query only: the system refuses it and the note stays.
  notes.DeleteValue(name);
  return version;
}

}  // namespace

StartupEntry EnterStartup() {
  StartupEntry entry;
  entry.hasMask = crash_marks::hasMark(kStartupMark, kBuildVersion);
  if (entry.hasMask) {
    entry.lastVersion = win::WideToUtf8(OpenClientKey(kInstallKey, KEY_QUERY_VALUE).ReadText(kLatestBootableVersion));
  } else {
    crash_marks::setMark(kStartupMark, kBuildVersion);
  }
  return entry;
}

void ClearStartupMark() {
  if (crash_marks::hasMark(kStartupMark, kBuildVersion)) crash_marks::clearMark(kStartupMark, kBuildVersion);
}

StartupRecord RecordStartup() {
  StartupRecord record;
  const auto install = OpenClientKey(kInstallKey, KEY_QUERY_VALUE);
  if (!install) return record;
  // Two readings, deliberately: files are looked for and recorded in the ANSI code page, script gets UTF-8.
  const std::string ansiDirectory = win::WideToAnsi(install.ReadText(nullptr));
  const std::string directory = win::WideToUtf8(install.ReadText(nullptr));
  if (RecordBootable(ExecutableOfThisBuild(ansiDirectory))) record.writeRegVersion = ExecutableOfThisBuild(directory);
  const auto notes = OpenClientKey(kInstallNotesKey, KEY_QUERY_VALUE);
  record.installVersion = TakeInstallNote(notes, L"currentinstallversion");
  // The misspelt name is deliberate: the installer writes it so.
  record.silentVersion = TakeInstallNote(notes, L"slientinstallversion");
  record.deleteFolderPath = directory + "\\bin";
  return record;
}

}  // namespace lifecycle
