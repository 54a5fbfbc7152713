#pragma once

namespace testing_support {

/// How many `new` of this test program, in whatever thread, still succeed before each fails; negative when all do. A
/// test program has this when its sources name failing_memory.cc.
extern int allocationsLeft;

}  // namespace testing_support
