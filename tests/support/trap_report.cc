// Part of every program and module that Clang builds. Reports where undefined behaviour has trapped, and ends the
// process. This handler runs before all others, so that none of them treats the trap as a fault that it expects.

#include <windows.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace {

LONG CALLBACK ReportTrap(EXCEPTION_POINTERS* exception) {
  const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
  if (record.ExceptionCode != EXCEPTION_ILLEGAL_INSTRUCTION) return EXCEPTION_CONTINUE_SEARCH;
  HMODULE module = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                     static_cast<const wchar_t*>(record.ExceptionAddress), &module);
  std::array<char, MAX_PATH> path{};
  GetModuleFileNameA(module, path.data(), path.size());
  std::fprintf(stderr, "\nTRAP in %s at 0x%llx\n", std::strrchr(path.data(), '\\') + 1,
               reinterpret_cast<uintptr_t>(record.ExceptionAddress) - reinterpret_cast<uintptr_t>(module));
  std::fflush(stderr);
  TerminateProcess(GetCurrentProcess(), record.ExceptionCode);
  return EXCEPTION_CONTINUE_SEARCH;
}

[[maybe_unused]] const void* const handler = AddVectoredExceptionHandler(/*First=*/1, &ReportTrap);

}  // namespace
