#pragma once

#include <napi.h>

namespace lifecycle {

/// The script functions for the client's launcher. lib/index.d.ts describes them. Each throws when a Node-API call
/// fails. When memory runs out, std::bad_alloc leaves the function and ends the process. Script thread.
Napi::Value CreateDuplicateMutex(const Napi::CallbackInfo& info);
Napi::Value DestroyDuplicateMutex(const Napi::CallbackInfo& info);
Napi::Value EnterStartupMask(const Napi::CallbackInfo& info);
Napi::Value LeaveStartupMask(const Napi::CallbackInfo& info);
Napi::Value RemoveOldVersion(const Napi::CallbackInfo& info);

}  // namespace lifecycle
