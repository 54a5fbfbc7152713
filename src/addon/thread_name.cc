#include "addon/thread_name.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

#include "win/get_function.h"
#include "win/unique_resource.h"

namespace addon {

namespace {

constexpr DWORD kThreadNameException = 0x406D1388;

/// The record that debuggers expect behind the exception's arguments.
struct ThreadNameRecord {
  DWORD type = 0x1000;
  const char* name;
  DWORD threadId;
  DWORD flags = 0;
};

LONG CALLBACK SwallowThreadNameException(EXCEPTION_POINTERS* exception) {
  return exception->ExceptionRecord->ExceptionCode == kThreadNameException ? EXCEPTION_CONTINUE_EXECUTION
                                                                           : EXCEPTION_CONTINUE_SEARCH;
}

struct VectoredHandlerTraits {
  using Value = void*;
  static Value Invalid() noexcept { return nullptr; }
  static void Close(Value value) noexcept { RemoveVectoredExceptionHandler(value); }
};

/// A debugger sees the exception before the handler does; without one the handler lets the thread go on. A vectored
/// handler, because only one of our two compilers knows __try.
void RaiseThreadNameException(const char* name) noexcept {
  const win::UniqueResource<VectoredHandlerTraits> guard(
      AddVectoredExceptionHandler(/*first=*/1, &SwallowThreadNameException));
  if (!guard) return;
  const ThreadNameRecord record{.name = name, .threadId = GetCurrentThreadId()};
  std::array<ULONG_PTR, 3> arguments{};
  static_assert(sizeof(record) == sizeof(arguments));
  std::memcpy(arguments.data(), &record, sizeof(record));
  RaiseException(kThreadNameException, 0, static_cast<DWORD>(arguments.size()), arguments.data());
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
