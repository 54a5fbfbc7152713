#pragma once

#include <napi.h>

namespace process_list {

/// "enumProcessList": ListProcesses on a worker. Script thread.
Napi::Value EnumProcessList(const Napi::CallbackInfo& info);

}  // namespace process_list
