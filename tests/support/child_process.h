#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "win/unique_resource.h"

namespace testing_support {

/// A function that a test runs in a process of its own: `int main(args)` under a name.
using ChildMain = int (*)(const std::vector<std::string>& arguments);

/// Registers a child's main function; use CHILD_MAIN.
struct ChildRegistration {
  ChildRegistration(const char* name, ChildMain main);
};

/// CHILD_MAIN(Name) { ... return 0; } defines what ChildProcess("Name") runs.
// NOLINTBEGIN(bugprone-macro-parentheses): the macro defines a function of the name that it gets.
#define CHILD_MAIN(name)                                                            \
  static int name(const std::vector<std::string>& arguments);                       \
  static const testing_support::ChildRegistration name##Registration(#name, &name); \
  static int name([[maybe_unused]] const std::vector<std::string>& arguments)
// NOLINTEND(bugprone-macro-parentheses)

/// Runs the child that the command line asks for ("--child=NAME ARGS") and returns true with its exit code, or returns
/// false when none is asked for.
bool RunAsChild(int argc, char** argv, int& exitCode);

/// A started child: this test program again in another process, or another program. Killed, if it still runs, by the
/// destructor.
class ChildProcess {
 public:
  /// Starts the child `name` with `arguments` (no quotes, no blanks).
  explicit ChildProcess(const std::string& name, const std::vector<std::string>& arguments = {});

  /// Starts another program of the build folder, given by its path relative to this test program's folder.
  ChildProcess(const std::wstring& program, const std::vector<std::string>& arguments);

  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  /// The next line that the child prints, without its end; empty when it has ended.
  std::string ReadLine();

  /// Waits for the end and returns the exit code; a child that takes longer than a minute is killed and fails.
  DWORD Wait();

 private:
  void Start(const std::wstring& program, std::wstring command);
  void Kill();

  win::UniqueHandle process_;
  win::UniqueHandle output_;
};

}  // namespace testing_support
