#pragma once

#include <napi.h>

namespace jank {

/// "captureNativeJank", see lib/index.d.ts. The properties of the argument are read twice, first for their types, then
/// for their values. Passes on an exception that a getter throws. Throws a script TypeError if a property other than
/// `living` changes its type in between, Napi::Error if a Node-API call fails, and std::system_error if the worker
/// cannot be started. Script thread; never waits for the capture.
Napi::Value CaptureNativeJank(const Napi::CallbackInfo& info);

}  // namespace jank
