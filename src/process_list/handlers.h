#pragma once

#include <napi.h>

namespace process_list {

/// "enumProcessList": takes a callback, returns `undefined`, and later calls back with `{ list: [{ pid, name }, ...]
/// }`. The list is empty when the system gives none. Throws TypeError "Invalid arg" without a callback. Script thread.
Napi::Value EnumProcessList(const Napi::CallbackInfo& info);

}  // namespace process_list
