#pragma once

#include <napi.h>

namespace testing_support {

/// Adds to `exports` the script functions by which tests drive background calls of their own: their work waits until it
/// is told to end, and their records are counted.
///
/// - startProbe(callback): starts one; the callback gets the number 1.
/// - endProbes(): lets the work of all end, also of those that are started later.
/// - liveRecords(): how many records exist.
/// - refuseCalls(status): from now on every delivery in this process is refused with this Node-API status.
/// - releases(): how often a thread-safe function has been released since then.
void AddBackgroundProbe(Napi::Env env, Napi::Object exports);

}  // namespace testing_support
