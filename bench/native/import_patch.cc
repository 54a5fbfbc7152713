#include "native/import_patch.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace bench {

void ForEachImport(HMODULE module, const std::function<void(const char*, void**)>& visit) {
  auto* const base = reinterpret_cast<BYTE*>(module);
  const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
  const auto* headers = reinterpret_cast<const IMAGE_NT_HEADERS64*>(base + dos->e_lfanew);
  const auto& directory = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  if (directory.Size == 0) return;
  for (auto* library = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(base + directory.VirtualAddress); library->Name;
       ++library) {
    auto* name = reinterpret_cast<IMAGE_THUNK_DATA64*>(base + library->OriginalFirstThunk);
    auto* slot = reinterpret_cast<IMAGE_THUNK_DATA64*>(base + library->FirstThunk);
    for (; name->u1.AddressOfData; ++name, ++slot) {
      if (IMAGE_SNAP_BY_ORDINAL64(name->u1.Ordinal)) continue;
      const auto* byName = reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + name->u1.AddressOfData);
      visit(byName->Name, reinterpret_cast<void**>(&slot->u1.Function));
    }
  }
}

void WriteImportSlot(void** slot, void* value) {
  DWORD protection = 0;
  VirtualProtect(slot, sizeof(*slot), PAGE_READWRITE, &protection);
  *slot = value;
  VirtualProtect(slot, sizeof(*slot), protection, &protection);
}

ImportPatch::ImportPatch(HMODULE module, const char* function, void* replacement) {
  ForEachImport(module, [&](const char* name, void** slot) {
    if (std::strcmp(name, function) == 0) slot_ = slot;
  });
  if (!slot_) {
    std::fprintf(stderr, "%s is not imported\n", function);
    std::abort();
  }
  original_ = *slot_;
  WriteImportSlot(slot_, replacement);
}

ImportPatch::~ImportPatch() {
  WriteImportSlot(slot_, original_);
}

}  // namespace bench
