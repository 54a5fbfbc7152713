#include "jank/targets/stall_library.h"

#include "jank/targets/describe_function.h"

// A frame must stay on the stack while its callee runs: something happens after each call.
volatile int afterLibraryCall = 0;

extern "C" void StallInLibrary(void (*next)()) {
  next();
  afterLibraryCall = 1;
}

extern "C" void DescribeLibrary() {
  DescribeFunction("StallInLibrary", reinterpret_cast<void*>(&StallInLibrary));
}
