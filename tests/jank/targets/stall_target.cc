// A process that stalls on purpose: stall_target chain | deep COUNT | nowhere | exit-after MILLISECONDS.
// Prints its functions' places, then "ready PROCESSID THREADID OTHERTHREADID", and stalls until it is killed.

#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "jank/targets/describe_function.h"
#include "jank/targets/stall_library.h"

#if defined(_MSC_VER) || defined(__clang__)
#define KEEP_FRAME __declspec(noinline)
#else
#define KEEP_FRAME __attribute__((noinline, noclone))
#endif

namespace {

volatile int afterCall = 0;

/// Ends the process late, in case nobody kills it.
DWORD WINAPI Sleep10Minutes(void*) {
  Sleep(600'000);
  ExitProcess(1);
}

void SayReady() {
  DWORD otherThread = 0;
  CreateThread(nullptr, 0, &Sleep10Minutes, nullptr, 0, &otherThread);
  std::printf("ready %lu %lu %lu\n", GetCurrentProcessId(), GetCurrentThreadId(), otherThread);
  std::fflush(stdout);
}

KEEP_FRAME void Innermost() {
  SayReady();
  Sleep(INFINITE);
  afterCall = 1;
}

KEEP_FRAME void Outer() {
  StallInLibrary(&Innermost);
  afterCall = 2;
}

// NOLINTNEXTLINE(misc-no-recursion): the depth is the point.
KEEP_FRAME void Descend(int depth) {
  if (depth > 1) {
    Descend(depth - 1);
  } else {
    Innermost();
  }
  afterCall = depth;
}

/// An endless loop in memory that belongs to no module.
void StallNowhere() {
  constexpr unsigned char kJumpToItself[] = {0xEB, 0xFE};
  void* const code = VirtualAlloc(nullptr, sizeof(kJumpToItself), MEM_COMMIT | MEM_RESERVE, PAGE_EXECUTE_READWRITE);
  std::memcpy(code, kJumpToItself, sizeof(kJumpToItself));
  std::printf("nowhere %llx\n", reinterpret_cast<unsigned long long>(code));
  SayReady();
  reinterpret_cast<void (*)()>(code)();
}

DWORD WINAPI EndProcess(void* milliseconds) {
  Sleep(static_cast<DWORD>(reinterpret_cast<uintptr_t>(milliseconds)));
  ExitProcess(0);
}

}  // namespace

int main(int argc, char** argv) {
  const std::string kind = argc > 1 ? argv[1] : "chain";
  const int number = argc > 2 ? std::atoi(argv[2]) : 0;
  DescribeFunction("Innermost", reinterpret_cast<void*>(&Innermost));
  DescribeFunction("Outer", reinterpret_cast<void*>(&Outer));
  DescribeFunction("Descend", reinterpret_cast<void*>(&Descend));
  DescribeLibrary();
  if (kind == "deep") {
    Descend(number);
  } else if (kind == "nowhere") {
    StallNowhere();
  } else {
    if (kind == "exit-after") {
      CreateThread(nullptr, 0, &EndProcess, reinterpret_cast<void*>(static_cast<uintptr_t>(number)), 0, nullptr);
    }
    Outer();
  }
  return 0;
}
