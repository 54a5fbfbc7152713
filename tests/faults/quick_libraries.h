#pragma once

#include <array>
#include <string>
#include <utility>
#include <vector>

namespace testing_support {

/// A function that the module looks up at run time (Node-API apart), or an import that has a quick form.
struct Replaced {
  const wchar_t* library;
  const char* name;
  /// A stand-in that takes no time and answers always alike; null where the system's own is quick enough.
  ///
  /// DbgHelp's answer for any process: three frames, the first of them in a module. PDH's have GPU counters, and end
  /// the process when a closed handle is used; no two threads may come to them at the same time.
  void* quick;
};

extern const std::array<Replaced, 17> kReplaced;

/// The instances that the quick PDH has, by name and value.
extern std::vector<std::pair<std::wstring, double>> quickPdhInstances;

/// How many queries and counters the quick PDH has open.
extern int openQuickPdhHandles;

}  // namespace testing_support
