// The least add-on that Node.js loads: what loading the module is measured against.

#include <node_api.h>

NAPI_MODULE_INIT(/*napi_env env, napi_value exports*/) {
  static_cast<void>(env);
  return exports;
}
