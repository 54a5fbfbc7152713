// The smallest add-on that Node.js loads. The benchmark compares the module's load time with the load time of this one.

#include <node_api.h>

NAPI_MODULE_INIT(/*napi_env env, napi_value exports*/) {
  static_cast<void>(env);
  return exports;
}
