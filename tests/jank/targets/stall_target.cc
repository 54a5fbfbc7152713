// A process that stalls on purpose: stall_target [DEPTH [MILLISECONDS]].
// Prints its ids as one line of JSON and stalls DEPTH calls deep (default: 1), until it is killed or MILLISECONDS have
// passed (default: ten minutes).

#include <windows.h>

#include <cstdio>
#include <cstdlib>

namespace {

DWORD lifetime = 600'000;

// Each function has its own frame: no call is a tail call, because an assignment follows it, and calls through a
// volatile pointer are not inlined.
volatile int afterCall = 0;

DWORD WINAPI EndLater(void*) {
  Sleep(lifetime);
  ExitProcess(0);
}

void Innermost() {
  DWORD otherThread = 0;
  CreateThread(nullptr, 0, &EndLater, nullptr, 0, &otherThread);
  std::printf("{\"processId\":%lu,\"threadId\":%lu,\"otherThreadId\":%lu}\n", GetCurrentProcessId(),
              GetCurrentThreadId(), otherThread);
  std::fflush(stdout);
  Sleep(INFINITE);
  afterCall = 1;
}
void (*volatile innermost)() = &Innermost;

void Outer(int depth);
void (*volatile outer)(int depth) = &Outer;

void Outer(int depth) {
  depth > 1 ? outer(depth - 1) : innermost();
  afterCall = depth;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 2) lifetime = static_cast<DWORD>(std::atoi(argv[2]));
  outer(argc > 1 ? std::atoi(argv[1]) : 1);
  return 0;
}
