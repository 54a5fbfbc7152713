#include "support/child_process.h"

#include <array>
#include <iostream>
#include <map>
#include <stdexcept>

#include "win/text.h"

namespace testing_support {

namespace {

std::map<std::string, ChildMain>& Children() {
  static std::map<std::string, ChildMain> children;
  return children;
}

std::wstring ProgramPath() {
  std::array<wchar_t, 1024> path{};
  GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
  return path.data();
}

std::wstring Joined(const std::vector<std::string>& arguments) {
  std::wstring joined;
  for (const std::string& argument : arguments)
    joined += L" " + win::NarrowToWide(CP_UTF8, argument);
  return joined;
}

}  // namespace

ChildRegistration::ChildRegistration(const char* name, ChildMain main) {
  Children()[name] = main;
}

bool RunAsChild(int argc, char** argv, int& exitCode) {
  const std::string prefix = "--child=";
  if (argc < 2 || std::string(argv[1]).rfind(prefix, 0) != 0) return false;
  exitCode = Children().at(argv[1] + prefix.size())(std::vector<std::string>(argv + 2, argv + argc));
  std::cout.flush();
  return true;
}

ChildProcess::ChildProcess(const std::string& name, const std::vector<std::string>& arguments) {
  const std::wstring self = ProgramPath();
  Start(self, L"\"" + self + L"\" --child=" + win::NarrowToWide(CP_UTF8, name) + Joined(arguments));
}

ChildProcess::ChildProcess(const std::wstring& program, const std::vector<std::string>& arguments) {
  const std::wstring self = ProgramPath();
  const std::wstring path = self.substr(0, self.rfind(L'\\') + 1) + program;
  Start(path, L"\"" + path + L"\"" + Joined(arguments));
}

void ChildProcess::Start(const std::wstring& program, std::wstring command) {
  SECURITY_ATTRIBUTES inherit{.nLength = sizeof(inherit), .lpSecurityDescriptor = nullptr, .bInheritHandle = TRUE};
  win::UniqueHandle childOutput;
  CreatePipe(output_.Receive(), childOutput.Receive(), &inherit, 0);
  SetHandleInformation(output_.Get(), HANDLE_FLAG_INHERIT, 0);

  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdOutput = childOutput.Get();
  startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
  PROCESS_INFORMATION information{};
  if (!CreateProcessW(program.c_str(), command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                      &information)) {
    throw std::runtime_error("the child process cannot be started");
  }
  process_.Reset(information.hProcess);
  CloseHandle(information.hThread);
}

ChildProcess::~ChildProcess() {
  if (WaitForSingleObject(process_.Get(), 0) == WAIT_TIMEOUT) Kill();
}

std::string ChildProcess::ReadLine() {
  std::string line;
  char character = 0;
  DWORD count = 0;
  while (ReadFile(output_.Get(), &character, 1, &count, nullptr) && count == 1 && character != '\n') {
    if (character != '\r') line += character;
  }
  return line;
}

DWORD ChildProcess::Wait() {
  if (WaitForSingleObject(process_.Get(), 60'000) != WAIT_OBJECT_0) Kill();
  DWORD exitCode = 0;
  GetExitCodeProcess(process_.Get(), &exitCode);
  return exitCode;
}

void ChildProcess::Kill() {
  TerminateProcess(process_.Get(), 0xDEAD);
  WaitForSingleObject(process_.Get(), INFINITE);
}

}  // namespace testing_support
