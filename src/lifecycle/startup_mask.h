#pragma once

#include <optional>
#include <string>

namespace lifecycle {

/// The start-up of this build, whose crashes the client's launcher must notice. All texts are UTF-8. Nothing here
/// throws for the registry's or the file system's sake: what fails leaves its part of the answer out. Script thread
/// only.

struct StartupEntry {
  /// True when the mark of an earlier start-up that never finished was found.
  bool hasMask = false;
  /// The executable of the latest build that finished its start-up; only looked for with `hasMask`, and empty when
  /// there is none.
  std::string lastVersion;
};

/// Sets this version's start-up mark, or finds that it is still set and leaves it as it is.
StartupEntry EnterStartup();

/// Clears this version's start-up mark.
void ClearStartupMark();

struct StartupRecord {
  /// This build's executable, when it has been recorded as the latest bootable one.
  std::optional<std::string> writeRegVersion;
  /// This version, when the installer has noted a normal or a silent install of it.
  std::optional<std::string> installVersion;
  std::optional<std::string> silentVersion;
  /// The folder of installed builds; absent, like all the rest, when the install key cannot be opened.
  std::optional<std::string> deleteFolderPath;
};

/// Records this build's executable, if it is there, as the latest bootable one, and reads the installer's notes.
StartupRecord RecordStartup();

}  // namespace lifecycle
