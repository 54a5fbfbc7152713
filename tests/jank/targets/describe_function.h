#pragma once

#include <windows.h>

#include <array>
#include <cstdio>
#include <cstring>

/// Prints "NAME MODULE BEGIN END", the offsets of a function in its module in hexadecimal, from the unwind table that
/// the system itself goes by.
inline void DescribeFunction(const char* name, void* function) {
  DWORD64 base = 0;
  const RUNTIME_FUNCTION* const entry = RtlLookupFunctionEntry(reinterpret_cast<DWORD64>(function), &base, nullptr);
  std::array<char, MAX_PATH> path{};
  GetModuleFileNameA(reinterpret_cast<HMODULE>(base), path.data(), static_cast<DWORD>(path.size()));
  std::printf("%s %s %lx %lx\n", name, std::strrchr(path.data(), '\\') + 1, entry->BeginAddress, entry->EndAddress);
}
