// Part of every program and module that Clang builds: says where a trap for undefined behaviour has stopped the
// process. It comes before all other handlers, so that none of them takes the trap for a fault of somebody else.

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
