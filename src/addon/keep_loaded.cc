#include "addon/keep_loaded.h"

#include <windows.h>

namespace addon {

void KeepModuleLoaded() noexcept {
  HMODULE module = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                     reinterpret_cast<LPCWSTR>(&KeepModuleLoaded), &module);
}

}  // namespace addon
