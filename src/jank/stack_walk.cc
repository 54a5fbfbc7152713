#include "jank/stack_walk.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>
#include <utility>

#include "jank/dbghelp_functions.h"
#include "jank/frozen_memory.h"

namespace jank {

namespace {

/// The memory behind a container that is documented to live in a FrozenMemory.
template <typename Container>
FrozenMemory& MemoryOf(const Container& container) {
  return *static_cast<FrozenMemory*>(container.get_allocator().resource());
}

/// No ANSI code page needs more bytes for a UTF-16 unit.
constexpr size_t kMaxAnsiBytes = 4;

/// Appends the ANSI form of `text`, of whatever length, piece by piece through the stack.
void AppendAnsi(std::pmr::string& ansi, std::wstring_view text) {
  constexpr size_t kPiece = 64;
  std::array<char, kMaxAnsiBytes * kPiece> buffer{};
  while (!text.empty()) {
    size_t length = std::min(text.size(), kPiece);
    const bool splitsPair = length < text.size() && IS_HIGH_SURROGATE(text[length - 1]);
    if (splitsPair) --length;
    const int size = WideCharToMultiByte(CP_ACP, 0, text.data(), static_cast<int>(length), buffer.data(),
                                         static_cast<int>(buffer.size()), nullptr, nullptr);
    ansi.append(buffer.data(), static_cast<size_t>(std::max(size, 0)));
    text.remove_prefix(length);
  }
}

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

}  // namespace

bool AppendFrame(std::pmr::string& trace, const ModuleList& modules, uint64_t programCounter) {
  std::string_view name = "<unknown>";
  uint64_t address = programCounter;
  const auto module = std::find_if(modules.begin(), modules.end(), [&](const ModuleRange& candidate) {
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
  if (!MemoryOf(trace).HasRoomFor(name.size() + kSeparator.size() + offset.size() + kLineEnd.size())) return false;
  trace.append(name).append(kSeparator).append(offset).append(kLineEnd);
  return true;
}

BOOL CALLBACK OnLoadedModule(PCWSTR moduleName, DWORD64 moduleBase, ULONG moduleSize, PVOID moduleList) {
  auto& modules = *static_cast<ModuleList*>(moduleList);
  std::wstring_view name(moduleName);
  name.remove_prefix(name.rfind(L'\\') + 1);  // npos + 1 is 0: the whole name
  if (!MemoryOf(modules).HasRoomFor(sizeof(ModuleRange) + kMaxAnsiBytes * name.size())) return TRUE;
  ModuleRange range{std::pmr::string(modules.get_allocator().resource()), moduleBase, moduleSize};
  AppendAnsi(range.name, name);
  modules.push_back(std::move(range));
  return TRUE;
}

std::pmr::string WalkThreadStack(HANDLE process, HANDLE thread, std::pmr::string& errorText) {
  FrozenMemory& memory = MemoryOf(errorText);
  std::pmr::string trace(&memory);
  const DbgHelpFunctions* const dbgHelp = GetDbgHelpFunctions();
  if (!dbgHelp || !dbgHelp->StackWalk64 || !dbgHelp->SymFunctionTableAccess64 || !dbgHelp->SymGetModuleBase64 ||
      !dbgHelp->EnumerateLoadedModulesW64) {
    errorText = "Invalid dbghelp functions";
    return trace;
  }
  ModuleList modules(&memory);
  if (!dbgHelp->EnumerateLoadedModulesW64(process, &OnLoadedModule, &modules)) {
    errorText = "Failed to enum modules";
    return trace;
  }
  CONTEXT context{};
  context.ContextFlags = CONTEXT_ALL;
  if (!GetThreadContext(thread, &context)) {
    errorText = "Failed to get thread context";
    return trace;
  }
  STACKFRAME64 frame = FirstFrame(context);
  while (dbgHelp->StackWalk64(IMAGE_FILE_MACHINE_AMD64, process, thread, &frame, &context, nullptr,
                              dbgHelp->SymFunctionTableAccess64, dbgHelp->SymGetModuleBase64, nullptr)) {
    if (!AppendFrame(trace, modules, frame.AddrPC.Offset)) break;
  }
  return trace;
}

}  // namespace jank
