#pragma once

#include <node_api.h>

#include <string>

/// The module's functions are compared with these: the least code that has the same result. It uses plain C interfaces
/// and the cheapest Node-API functions, and checks nothing. Script thread.
namespace bench {

/// The string that BareAnswer returns.
extern std::string bareAnswer;

/// answer(): an empty function that returns a string.
napi_value BareAnswer(napi_env env, napi_callback_info info);

/// listProcesses(): runs the same snapshot loop and makes the same objects as "enumProcessList", but on the script
/// thread. Script gets the names in UTF-16, as the system returns them.
napi_value BareListProcesses(napi_env env, napi_callback_info info);

/// threadCall(callback): starts a thread that only names itself and then has `callback` called with `{ list: [] }`.
napi_value BareThreadCall(napi_env env, napi_callback_info info);

/// workerCall(callback): the same, but addon::StartWorker starts the thread, with the compiler's thread library, as in
/// the module.
napi_value WorkerThreadCall(napi_env env, napi_callback_info info);

}  // namespace bench
