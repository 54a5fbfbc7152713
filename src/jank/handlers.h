#pragma once

#include <napi.h>

namespace jank {

/// "captureNativeJank": takes an object of twelve properties and a callback, returns `undefined`, and later calls back
/// with what became of the capture. Throws TypeError "Invalid arg", before anything is started, when a property is
/// missing or of the wrong type or there is no callback.
///
/// The properties are read twice, once for their types and once for their values: throws on what a getter throws, and
/// an Error when a property has changed its type in between. Throws Napi::Error when a Node-API call fails and
/// std::system_error when the worker cannot be started. Script thread; never waits for the capture.
Napi::Value CaptureNativeJank(const Napi::CallbackInfo& info);

}  // namespace jank
