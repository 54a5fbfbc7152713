#pragma once

#include <optional>
#include <string>

namespace lifecycle {

/// The start-up of this build. The client's launcher must notice when it crashes. All strings are UTF-8. A failure of
/// the registry or the file system leaves out its part of the answer and is never thrown; std::bad_alloc is, when
/// memory runs out. Any thread.

struct StartupEntry {
  /// True when the mark of an earlier start-up was found that never finished.
  bool hasMask = false;
  /// The executable of the latest build that finished its start-up. It is looked for only with `hasMask`.
  std::optional<std::string> lastVersion;
};

/// Sets this version's start-up mark. Leaves it as it is when it is still set.
StartupEntry EnterStartup();

/// Clears this version's start-up mark.
void ClearStartupMark();

struct StartupRecord {
  /// This build's executable, when it has been recorded as the latest bootable one.
  std::optional<std::string> writeRegVersion;
  /// This version, when the installer has noted a normal or a silent install of it.
  std::optional<std::string> installVersion;
  std::optional<std::string> silentVersion;
  /// The folder of installed builds. Absent, like all the rest, when the install key cannot be opened.
  std::optional<std::string> deleteFolderPath;
};

/// Records this build's executable, if it exists, as the latest bootable one, and reads the installer's notes.
StartupRecord RecordStartup();

}  // namespace lifecycle
