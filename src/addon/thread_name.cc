#include "addon/thread_name.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

#include "win/fault_guard.h"
#include "win/get_function.h"

namespace addon {

namespace {

/// MS_VC_EXCEPTION, which debuggers take for a thread's name.
constexpr DWORD kMsVcException = 0x406D1388;

/// THREADNAME_INFO, the record that they expect as the exception's arguments.
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
  // A debugger sees the exception first; without one nobody takes it, and the guard ends it here.
  win::CallUnderFaultGuard(&Raise, arguments.data());
}

}  // namespace

void SetCurrentThreadName(const char* name) noexcept {
  // The zero fill is the terminator: the count keeps mbstowcs from writing one.
  std::array<wchar_t, kMaxThreadNameLength + 1> wide{};
  std::mbstowcs(wide.data(), name, std::min<size_t>(std::strlen(name), kMaxThreadNameLength));

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
