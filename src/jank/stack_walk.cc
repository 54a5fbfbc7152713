#include "jank/stack_walk.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "jank/dbghelp_functions.h"

namespace jank {

namespace {

STACKFRAME64 FirstFrame(const CONTEXT& context) {
  STACKFRAME64 frame{};
  frame.AddrPC.Offset = context.Rip;
  frame.AddrPC.Mode = AddrModeFlat;
  frame.AddrFrame.Offset = context.Rbp;
  frame.AddrFrame.Mode = AddrModeFlat;
  frame.AddrStack.Offset = context.Rsp;
  frame.AddrStack.Mode = AddrModeFlat;
  return frame;
}

/// Appends one frame's line. False if there is no memory for it.
bool AppendFrame(FrozenArray<char>& trace, const FrozenArray<ModuleRange>& modules, uint64_t programCounter) {
  std::string_view name = "<unknown>";
  uint64_t address = programCounter;
  const auto* const module = std::find_if(modules.begin(), modules.end(), [&](const ModuleRange& candidate) {
    return candidate.base <= programCounter && programCounter - candidate.base < candidate.size;
  });
  if (module != modules.end()) {
    name = module->name;
    address -= module->base;
  }
  std::array<char, 16> digits{};
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), address, 16).ptr;
  const std::string_view offset(digits.data(), static_cast<size_t>(end - digits.data()));
  constexpr std::string_view kSeparator = "!0x";
  constexpr std::string_view kLineEnd = "\r\n";
  char* line = trace.Extend(name.size() + kSeparator.size() + offset.size() + kLineEnd.size());
  if (!line) return false;
  for (const std::string_view part : {name, kSeparator, offset, kLineEnd})
    line = std::copy(part.begin(), part.end(), line);
  return true;
}

}  // namespace

BOOL CALLBACK OnLoadedModule(PCWSTR moduleName, DWORD64 moduleBase, ULONG moduleSize, PVOID moduleList) {
  auto& modules = *static_cast<ModuleList*>(moduleList);
  std::wstring_view wide(moduleName);
  wide.remove_prefix(wide.rfind(L'\\') + 1);  // npos + 1 is 0: the whole name
  const auto toAnsi = [&](char* ansi, int size) {
    return WideCharToMultiByte(CP_ACP, 0, wide.data(), static_cast<int>(wide.size()), ansi, size, nullptr, nullptr);
  };
  const int size = toAnsi(nullptr, 0);
  char* const name = modules.names.Extend(static_cast<size_t>(size));
  ModuleRange* const range = name ? modules.ranges.Extend(1) : nullptr;
  if (!range) return TRUE;
  *range = {.name = {name, static_cast<size_t>(toAnsi(name, size))}, .base = moduleBase, .size = moduleSize};
  return TRUE;
}

std::string_view WalkThreadStack(HANDLE process, HANDLE thread, WalkMemory& memory, std::string_view& errorText) {
  const DbgHelpFunctions* const dbgHelp = GetDbgHelpFunctions();
  if (!dbgHelp || !dbgHelp->StackWalk64 || !dbgHelp->SymFunctionTableAccess64 || !dbgHelp->SymGetModuleBase64 ||
      !dbgHelp->EnumerateLoadedModulesW64) {
    errorText = "Invalid dbghelp functions";
    return {};
  }
  if (!dbgHelp->EnumerateLoadedModulesW64(process, &OnLoadedModule, &memory.modules)) {
    errorText = "Failed to enum modules";
    return {};
  }
  CONTEXT context{};
  context.ContextFlags = CONTEXT_ALL;
  if (!GetThreadContext(thread, &context)) {
    errorText = "Failed to get thread context";
    return {};
  }
  STACKFRAME64 frame = FirstFrame(context);
  while (dbgHelp->StackWalk64(IMAGE_FILE_MACHINE_AMD64, process, thread, &frame, &context, nullptr,
                              dbgHelp->SymFunctionTableAccess64, dbgHelp->SymGetModuleBase64, nullptr)) {
    if (!AppendFrame(memory.trace, memory.modules.ranges, frame.AddrPC.Offset)) break;
  }
  return {memory.trace.begin(), memory.trace.end()};
}

}  // namespace jank
