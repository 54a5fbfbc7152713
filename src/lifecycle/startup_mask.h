#pragma once

#include <string>

namespace lifecycle {

// These functions record the start-ups of this build, so that the next start notices when one has crashed. All strings
// are UTF-8. A string whose registry key or file cannot be read is empty, except as its comment says, and nothing is
// thrown. Each function throws std::bad_alloc when memory runs out. Any thread.

struct StartupEntry {
  /// Whether this version's start-up mark was found: an earlier start-up has not finished.
  bool hasMask = false;
  /// The executable of the latest build that finished its start-up. Looked for only if `hasMask` is true.
  std::string lastVersion;
};

/// Sets this version's start-up mark. A mark that is still set stays unchanged.
StartupEntry EnterStartup();

void ClearStartupMark();

struct StartupRecord {
  /// This build's executable, when it has been recorded as the latest bootable one.
  std::string writeRegVersion;
  /// This version, when the installer has noted a normal or a silent install of it.
  std::string installVersion;
  std::string silentVersion;
  /// The folder of installed builds; "\bin" if the installer's value cannot be read. Empty, like all the other fields,
  /// when the install key cannot be opened.
  std::string deleteFolderPath;
};

/// Records this build's executable, if it exists, as the latest bootable one, and reads the installer's notes.
StartupRecord RecordStartup();

}  // namespace lifecycle
