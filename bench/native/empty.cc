// The smallest add-on that Node.js loads. The load time of the module is compared with its load time.

#include <node_api.h>

NAPI_MODULE_INIT(/*napi_env env, napi_value exports*/) {
  static_cast<void>(env);
  return exports;
}
