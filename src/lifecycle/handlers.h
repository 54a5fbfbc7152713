#pragma once

#include <napi.h>

namespace lifecycle {

/// The script functions for the client's launcher. Each does its work within the call and afresh on every call, and
/// throws when a Node-API call fails; out of memory, it lets out std::bad_alloc, which ends the process. They keep
/// their state without a lock: only one script thread of the process may call them.

/// "createDuplicateMutex": true when another instance of the client holds the session's mutex, else false.
Napi::Value CreateDuplicateMutex(const Napi::CallbackInfo& info);

/// "destroyDuplicateMutex": always true.
Napi::Value DestroyDuplicateMutex(const Napi::CallbackInfo& info);

/// "enterStartupMask": `{ hasMask, lastVersion? }`.
Napi::Value EnterStartupMask(const Napi::CallbackInfo& info);

/// "leaveStartupMask": `{ writeRegVersion?, installVersion?, silentVersion?, deleteFolderPath? }`.
Napi::Value LeaveStartupMask(const Napi::CallbackInfo& info);

/// "removeOldVersion": takes the path of a build's executable and its version, and returns `{ gpuPreferencesDelResult:
/// { delSuccess, errorText? }, firewallDelResult: { firewallName, delSuccess, errorText } }`. Throws TypeError "Invalid
/// path" or "Invalid version" for what is no string, before anything is removed.
Napi::Value RemoveOldVersion(const Napi::CallbackInfo& info);

}  // namespace lifecycle
