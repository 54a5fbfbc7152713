#pragma once

#include <node_api.h>

#include <string>

/// What the module's functions are measured against: the least code that makes the same system and Node-API calls, in
/// plain C interfaces and without a check. All of it is for the script thread.
namespace bench {

/// The text that BareAnswer returns.
extern std::string bareAnswer;

/// answer(): an empty function that returns a string.
napi_value BareAnswer(napi_env env, napi_callback_info info);

/// listProcesses(): the snapshot loop and the objects that "enumProcessList" makes, at once and without a thread.
napi_value BareListProcesses(napi_env env, napi_callback_info info);

/// threadCall(callback): a thread that does nothing but name itself, and a call of `callback` with `{ list: [] }` from
/// it.
napi_value BareThreadCall(napi_env env, napi_callback_info info);

/// workerCall(callback): the same from a thread of the compiler's thread library, started as the module starts its own.
napi_value WorkerThreadCall(napi_env env, napi_callback_info info);

}  // namespace bench
