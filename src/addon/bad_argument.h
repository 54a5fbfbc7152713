#pragma once

#include <napi.h>

namespace addon {

/// Throws the script `TypeError` with which every function refuses a bad argument, and returns the `undefined` that the
/// handler then returns. Script thread only, before any work is started.
inline Napi::Value ThrowBadArgument(Napi::Env env, const char* message = "Invalid arg") {
  Napi::TypeError::New(env, message).ThrowAsJavaScriptException();
  return env.Undefined();
}

}  // namespace addon
