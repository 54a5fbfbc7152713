#pragma once

#include <napi.h>

namespace jank {

/// "captureNativeJank": takes an object of twelve properties and a callback, returns `undefined`, and later calls back
/// with what became of the capture. Throws TypeError "Invalid arg", before anything is started, when a property is
/// missing or of the wrong type or there is no callback. Script thread; never waits for the capture.
Napi::Value CaptureNativeJank(const Napi::CallbackInfo& info);

}  // namespace jank
