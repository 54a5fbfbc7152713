#pragma once

#include <windows.h>

#include <functional>

namespace testing_support {

/// Calls `visit(function, slot)` for every function that `module` imports by name from a DLL that is loaded
/// with it; `*slot` is the function's address as the module calls it.
void ForEachImport(HMODULE module, const std::function<void(const char*, void**)>& visit);

/// Makes one loaded module call `replacement` instead of a system function that it imports, until the patch goes out of
/// scope. The module under test needs no switch for it. A replacement in the patched module reaches the
/// real function by RealFunction() alone: calling it by name, or an address taken by name, leads back to itself.
class ImportPatch {
 public:
  /// Patches the import of `function` in `module`; aborts the test program when there is none.
  template <typename Function>
  ImportPatch(HMODULE module, const char* function, Function* replacement)
      : ImportPatch(module, function, reinterpret_cast<void*>(replacement)) {}
  ImportPatch(HMODULE module, const char* function, void* replacement);

  /// Patches the test program itself.
  template <typename Function>
  ImportPatch(const char* function, Function* replacement)
      : ImportPatch(GetModuleHandleW(nullptr), function, replacement) {}

  ~ImportPatch();
  ImportPatch(const ImportPatch&) = delete;
  ImportPatch& operator=(const ImportPatch&) = delete;

 private:
  void** slot_ = nullptr;
  void* original_ = nullptr;
};

/// A system function by the address that its DLL gives it; for initialising a global, before any patch.
template <typename Function>
Function* RealFunction(const wchar_t* library, const char* name) {
  return reinterpret_cast<Function*>(GetProcAddress(LoadLibraryW(library), name));
}

/// Stores `value` into an import slot, which lies in read-only memory.
void WriteImportSlot(void** slot, void* value);

}  // namespace testing_support
