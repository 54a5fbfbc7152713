#pragma once

#include <napi.h>

#include <string>

// Functions with which the handlers of all folders read and build script values. Script thread only.

namespace addon {

/// Throws the script `TypeError` for a bad argument; call it before any work is started. Returns the `undefined` that
/// the handler then returns.
inline Napi::Value ThrowBadArgument(Napi::Env env, const char* message = "Invalid arg") {
  Napi::TypeError::New(env, message).ThrowAsJavaScriptException();
  return env.Undefined();
}

/// The whole script string as UTF-16 for the system's wide interfaces, embedded NULs and lone surrogates included.
/// Throws Napi::Error if `text` is not a string.
inline std::wstring ToWide(const Napi::Value& text) {
  const std::u16string utf16 = text.As<Napi::String>().Utf16Value();
  return std::wstring(utf16.begin(), utf16.end());
}

// Each SetIfPresent sets the property `name` if there is a value; otherwise the object does not get the property.
// Throws Napi::Error if a Node-API call fails.

/// An empty string is no value.
inline void SetIfPresent(const Napi::Object& object, const char* name, const std::string& utf8) {
  if (!utf8.empty()) object.Set(name, Napi::String::New(object.Env(), utf8));
}

/// Exactly 0 is no value. NaN is a value.
inline void SetIfPresent(const Napi::Object& object, const char* name, double number) {
  if (number != 0.0) object.Set(name, Napi::Number::New(object.Env(), number));
}

}  // namespace addon
