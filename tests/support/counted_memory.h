#pragma once

#include <windows.h>

#include <atomic>

namespace testing_support {

/// The thread whose `new` and `delete` are counted in `heapCalls`; 0 for none. A test program has this when its sources
/// name counted_memory.cc.
extern std::atomic<DWORD> countedThread;
extern std::atomic<int> heapCalls;

}  // namespace testing_support
