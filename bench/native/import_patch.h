#pragma once

#include <windows.h>

#include <functional>

namespace bench {

/// Calls `visit(function, slot)` for every function that `module` imports by name from a DLL that is loaded
/// with it; `*slot` is the function's address as the module calls it.
void ForEachImport(HMODULE module, const std::function<void(const char*, void**)>& visit);

/// Makes one loaded module call `replacement` instead of a system function that it imports, until the patch goes out of
/// scope. So the module needs no code for the benchmark. The replacement must lie in another module, where the system
/// function's name still means the real function.
class ImportPatch {
 public:
  /// Patches the import of `function` in `module`; aborts the program when there is none.
  template <typename Function>
  ImportPatch(HMODULE module, const char* function, Function* replacement)
      : ImportPatch(module, function, reinterpret_cast<void*>(replacement)) {}
  ImportPatch(HMODULE module, const char* function, void* replacement);

  ~ImportPatch();
  ImportPatch(const ImportPatch&) = delete;
  ImportPatch& operator=(const ImportPatch&) = delete;

 private:
  void** slot_ = nullptr;
  void* original_ = nullptr;
};

/// Stores `value` into an import slot, which lies in read-only memory.
void WriteImportSlot(void** slot, void* value);

}  // namespace bench
