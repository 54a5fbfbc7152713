#pragma once

#include <node_api.h>

#include <string>

/// What the module's functions are measured against: the least code that comes to the same end, in plain C interfaces,
/// without a check and, where a cheaper Node-API function will do, with that one. All of it is for the script thread.
namespace bench {

/// The text that BareAnswer returns.
extern std::string bareAnswer;

/// answer(): an empty function that returns a string.
napi_value BareAnswer(napi_env env, napi_callback_info info);

/// listProcesses(): the snapshot loop and the objects that "enumProcessList" makes, at once and without a thread. Names
/// go to script as the UTF-16 that the system gives.
napi_value BareListProcesses(napi_env env, napi_callback_info info);

/// threadCall(callback): a thread that does nothing but name itself, and a call of `callback` with `{ list: [] }` from
/// it.
napi_value BareThreadCall(napi_env env, napi_callback_info info);

/// workerCall(callback): the same from a thread of the compiler's thread library, started as the module starts its own.
napi_value WorkerThreadCall(napi_env env, napi_callback_info info);

}  // namespace bench
