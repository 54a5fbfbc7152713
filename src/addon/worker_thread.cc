#include "addon/worker_thread.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

#include "win/fault_guard.h"
#include "win/get_function.h"

namespace addon {

namespace {

constexpr size_t kMaxThreadNameLength = 15;

/// MS_VC_EXCEPTION: debuggers read a thread's name from this exception.
constexpr DWORD kMsVcException = 0x406D1388;

/// THREADNAME_INFO: the record that debuggers expect as the arguments of that exception.
struct ThreadNameInfo {
  DWORD type = 0x1000;
  const char* name;
  DWORD threadId;
  DWORD flags = 0;
};

using ExceptionArguments = std::array<ULONG_PTR, 3>;
static_assert(sizeof(ThreadNameInfo) == sizeof(ExceptionArguments));

void Raise(void* data) {
  const auto& arguments = *static_cast<const ExceptionArguments*>(data);
  RaiseException(kMsVcException, 0, static_cast<DWORD>(arguments.size()), arguments.data());
}

void RaiseThreadNameException(const char* name) noexcept {
  const ThreadNameInfo info{.name = name, .threadId = GetCurrentThreadId()};
  ExceptionArguments arguments{};
  std::memcpy(arguments.data(), &info, sizeof(info));
  // A debugger sees the exception first. If there is no debugger, nobody handles it, and the guard ends it here.
  win::CallUnderFaultGuard(&Raise, arguments.data());
}

}  // namespace

void SetCurrentThreadName(const char* name) noexcept {
  // mbstowcs stops after this many characters and writes no terminator. The array is filled with zeros, so it is
  // terminated anyway.
  std::array<wchar_t, kMaxThreadNameLength + 1> wide{};
  std::mbstowcs(wide.data(), name, std::min(std::strlen(name), kMaxThreadNameLength));

  // decltype is no use here: MinGW-w64's headers do not declare SetThreadDescription.
  using SetThreadDescriptionFunction = HRESULT(WINAPI*)(HANDLE, PCWSTR);
  const auto setThreadDescription =
      win::GetFunction<SetThreadDescriptionFunction>(GetModuleHandleW(L"Kernel32.dll"), "SetThreadDescription");
  if (setThreadDescription) {
    setThreadDescription(GetCurrentThread(), wide.data());
  } else {
    RaiseThreadNameException(name);
  }
}

}  // namespace addon
