// The add-on that makes the module's system calls fail. It works from outside: every import of a loaded module file is
// led through a few bytes of machine code made at run time, which count the call and let it through or fail it.

#include <napi.h>

#include <windows.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "faults/quick_libraries.h"
#include "support/import_patch.h"
#include "win/unique_resource.h"

namespace {

/// Where the arguments travel, as the thunk saves them.
struct Registers {
  uint64_t rcx, rdx, r8, r9;
};

/// A system function, shared by all patched copies of the module. The thunk reads the first two fields.
struct Function {
  void* real = nullptr;
  /// What it returns when it fails.
  uint64_t failure = 0;
  DWORD error = 0;
  /// Does its work and then claims to have failed. For what gives something back, which nobody could give back again.
  bool late = false;
  std::atomic<uint32_t> calls = 0;
  /// Which of the counted calls fails; 0: none.
  std::atomic<uint32_t> failAt = 0;
  std::string name;
  void* thunk = nullptr;
};
static_assert(offsetof(Function, real) == 0 && offsetof(Function, failure) == 8);

std::map<std::string, std::unique_ptr<Function>> functions;
/// Calls of this thread are let through uncounted; 0: of none.
std::atomic<DWORD> sparedThread = 0;

/// The binding of the delay-loaded Node-API to the host, which exports all of it.
bool IsNodeApiBinding(const Function& function, const Registers& registers) {
  if (function.name == "GetModuleHandleW") return registers.rcx == 0;
  if (function.name != "GetProcAddress") return false;
  return std::strncmp(reinterpret_cast<const char*>(registers.rdx), "napi_", 5) == 0;
}

/// Whether this call is to fail. Must leave the last error alone where it is not.
bool Fails(Function* function, const Registers* registers) {
  if (IsNodeApiBinding(*function, *registers) || GetCurrentThreadId() == sparedThread) return false;
  if (++function->calls != function->failAt) return false;
  if (function->late) {
    using AnyFunction = uint64_t(WINAPI*)(uint64_t, uint64_t, uint64_t, uint64_t);
    reinterpret_cast<AnyFunction>(function->real)(registers->rcx, registers->rdx, registers->r8, registers->r9);
  }
  SetLastError(function->error);
  return true;
}

// clang-format off
constexpr BYTE kThunk[] = {
    0x41, 0x51, 0x41, 0x50, 0x52, 0x51,                 // push r9, r8, rdx, rcx
    0x48, 0x83, 0xEC, 0x68,                             // sub rsp, 0x68
    0x0F, 0x29, 0x44, 0x24, 0x20,                       // movaps [rsp+0x20], xmm0
    0x0F, 0x29, 0x4C, 0x24, 0x30,                       // movaps [rsp+0x30], xmm1
    0x0F, 0x29, 0x54, 0x24, 0x40,                       // movaps [rsp+0x40], xmm2
    0x0F, 0x29, 0x5C, 0x24, 0x50,                       // movaps [rsp+0x50], xmm3
    0x48, 0xB9, 1, 1, 1, 1, 1, 1, 1, 1,                 // mov rcx, the function
    0x48, 0x8D, 0x54, 0x24, 0x68,                       // lea rdx, [rsp+0x68]
    0x48, 0xB8, 2, 2, 2, 2, 2, 2, 2, 2,                 // mov rax, Fails
    0xFF, 0xD0,                                         // call rax
    0x0F, 0x28, 0x44, 0x24, 0x20,                       // movaps xmm0, [rsp+0x20]
    0x0F, 0x28, 0x4C, 0x24, 0x30,                       // movaps xmm1, [rsp+0x30]
    0x0F, 0x28, 0x54, 0x24, 0x40,                       // movaps xmm2, [rsp+0x40]
    0x0F, 0x28, 0x5C, 0x24, 0x50,                       // movaps xmm3, [rsp+0x50]
    0x48, 0x83, 0xC4, 0x68,                             // add rsp, 0x68
    0x59, 0x5A, 0x41, 0x58, 0x41, 0x59,                 // pop rcx, rdx, r8, r9
    0x84, 0xC0,                                         // test al, al
    0x48, 0xB8, 1, 1, 1, 1, 1, 1, 1, 1,                 // mov rax, the function
    0x75, 0x02,                                         // jnz over the jump
    0xFF, 0x20,                                         // jmp [rax]: the real function
    0x48, 0x8B, 0x40, 0x08,                             // mov rax, [rax+8]: the failure
    0xC3};                                              // ret
// clang-format on

void* MakeThunk(Function* function) {
  constexpr size_t kPage = 4096;
  static BYTE* next = nullptr;
  static size_t left = 0;
  if (left < sizeof(kThunk)) {
    next = static_cast<BYTE*>(VirtualAlloc(nullptr, kPage, MEM_COMMIT | MEM_RESERVE, PAGE_EXECUTE_READWRITE));
    left = kPage;
  }
  BYTE* const thunk = next;
  next += sizeof(kThunk);
  left -= sizeof(kThunk);
  std::memcpy(thunk, kThunk, sizeof(kThunk));
  const std::array<uint64_t, 2> values = {reinterpret_cast<uint64_t>(function), reinterpret_cast<uint64_t>(&Fails)};
  for (size_t at = 0; at + 8 <= sizeof(kThunk); ++at) {
    for (const BYTE place : {BYTE{1}, BYTE{2}}) {
      std::array<BYTE, 8> wanted{};
      wanted.fill(place);
      if (std::memcmp(kThunk + at, wanted.data(), 8) == 0) std::memcpy(thunk + at, &values[place - 1U], 8);
    }
  }
  return thunk;
}

Function& FunctionOf(const std::string& name, void* real) {
  auto& function = functions[name];
  if (!function) {
    function = std::make_unique<Function>();
    function->name = name;
    function->real = real;
    function->thunk = MakeThunk(function.get());
  }
  return *function;
}

/// serve([[name, value], ...]): the instances that the quick PDH has from now on.
void Serve(const Napi::CallbackInfo& info) {
  auto& instances = testing_support::quickPdhInstances;
  instances.clear();
  for (uint32_t index = 0; index < info[0].As<Napi::Array>().Length(); ++index) {
    const auto instance = info[0].As<Napi::Array>().Get(index).As<Napi::Array>();
    const std::u16string name = instance.Get(0U).ToString();
    instances.emplace_back(std::wstring(name.begin(), name.end()), instance.Get(1U).ToNumber().DoubleValue());
  }
}

/// openPdhHandles(): how many queries and counters the quick PDH has open.
Napi::Value OpenPdhHandles(const Napi::CallbackInfo& info) {
  return Napi::Number::New(info.Env(), testing_support::openQuickPdhHandles);
}

FARPROC WINAPI LookUp(HMODULE library, LPCSTR name) {
  for (const auto& replaced : testing_support::kReplaced) {
    if (std::strcmp(name, replaced.name) == 0) return reinterpret_cast<FARPROC>(functions.at(name)->thunk);
  }
  return GetProcAddress(library, name);
}

/// useQuick(whether): from now on all copies of the module use the quick DbgHelp and PDH, or the system's.
void UseQuick(const Napi::CallbackInfo& info) {
  for (const auto& replaced : testing_support::kReplaced) {
    void* const real = reinterpret_cast<void*>(GetProcAddress(LoadLibraryW(replaced.library), replaced.name));
    FunctionOf(replaced.name, real).real = info[0].ToBoolean() && replaced.quick ? replaced.quick : real;
  }
}

/// install(modulePath, prefix): leads the imports of a loaded module file through thunks: all, or those whose names
/// begin so. Returns the names of all functions that can be made to fail, those looked up at run time among them.
Napi::Value Install(const Napi::CallbackInfo& info) {
  const std::u16string path = info[0].ToString().Utf16Value();
  const HMODULE module = GetModuleHandleW(std::wstring(path.begin(), path.end()).c_str());
  if (!module) throw Napi::Error::New(info.Env(), "not loaded");
  const std::string prefix = info[1].IsString() ? info[1].ToString().Utf8Value() : "";
  testing_support::ForEachImport(module, [&](const char* name, void** slot) {
    if (!std::string_view(name).starts_with(prefix)) return;
    Function& function = FunctionOf(name, *slot);
    if (function.name == "GetProcAddress") function.real = reinterpret_cast<void*>(&LookUp);
    testing_support::WriteImportSlot(slot, function.thunk);
  });
  const auto names = Napi::Array::New(info.Env());
  for (const auto& [name, function] : functions)
    names.Set(names.Length(), name);
  return names;
}

/// define(name, failure, error, late): what a function that fails returns, the last error (0 when left out), and
/// whether it does its work before.
void Define(const Napi::CallbackInfo& info) {
  const auto found = functions.find(info[0].ToString());
  if (found == functions.end()) return;
  Function& function = *found->second;
  function.failure = static_cast<uint64_t>(info[1].ToNumber().Int64Value());
  function.error = info[2].IsNumber() ? info[2].ToNumber().Uint32Value() : ERROR_SUCCESS;
  function.late = info[3].ToBoolean();
}

/// arm(name, n, onWorkers): counts all calls from 0 again, and lets the nth of a function fail. With `onWorkers` the
/// calling thread's calls do not count. Without a name nothing fails.
void Arm(const Napi::CallbackInfo& info) {
  for (const auto& [name, function] : functions) {
    function->failAt = 0;
    function->calls = 0;
  }
  sparedThread = info[2].ToBoolean() ? GetCurrentThreadId() : 0;
  if (info[0].IsString()) functions.at(info[0].ToString())->failAt = info[1].ToNumber().Uint32Value();
}

/// calls(): how often each function that was called at all has been called since arm().
Napi::Value Calls(const Napi::CallbackInfo& info) {
  const auto calls = Napi::Object::New(info.Env());
  for (const auto& [name, function] : functions) {
    if (function->calls != 0) calls.Set(name, static_cast<double>(function->calls));
  }
  return calls;
}

/// openHandles(): how many handles this process has open; registry keys are handles too.
Napi::Value OpenHandles(const Napi::CallbackInfo& info) {
  // GetProcessHandleCount is always 0 in Wine. Values are given out in steps of four, the lowest that is free first.
  constexpr int kGap = 256;
  double open = 0;
  DWORD flags = 0;
  int closed = 0;
  for (uintptr_t value = 4; closed < kGap; value += 4) {
    const bool isOpen = GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags) != FALSE;
    open += isOpen ? 1 : 0;
    closed = isOpen ? 0 : closed + 1;
  }
  return Napi::Number::New(info.Env(), open);
}

/// suspendCount(threadId): how often the thread is suspended.
Napi::Value SuspendCount(const Napi::CallbackInfo& info) {
  const win::UniqueHandle thread(OpenThread(THREAD_SUSPEND_RESUME, FALSE, info[0].ToNumber().Uint32Value()));
  const DWORD before = SuspendThread(thread.Get());
  ResumeThread(thread.Get());
  return Napi::Number::New(info.Env(), before);
}

LONG WINAPI EndWithExceptionCode(EXCEPTION_POINTERS* exception) {
  TerminateProcess(GetCurrentProcess(), exception->ExceptionRecord->ExceptionCode);
  return EXCEPTION_EXECUTE_HANDLER;
}

/// endQuietly(): an exception that nobody handles ends this process without a debugger being called first.
void EndQuietly(const Napi::CallbackInfo&) {
  SetUnhandledExceptionFilter(&EndWithExceptionCode);
}

Napi::Object Init(Napi::Env env, Napi::Object exports) {
  exports.Set("install", Napi::Function::New(env, &Install));
  exports.Set("define", Napi::Function::New(env, &Define));
  exports.Set("arm", Napi::Function::New(env, &Arm));
  exports.Set("calls", Napi::Function::New(env, &Calls));
  exports.Set("useQuick", Napi::Function::New(env, &UseQuick));
  exports.Set("serve", Napi::Function::New(env, &Serve));
  exports.Set("openPdhHandles", Napi::Function::New(env, &OpenPdhHandles));
  exports.Set("openHandles", Napi::Function::New(env, &OpenHandles));
  exports.Set("endQuietly", Napi::Function::New(env, &EndQuietly));
  exports.Set("suspendCount", Napi::Function::New(env, &SuspendCount));
  return exports;
}

}  // namespace

NODE_API_MODULE(NODE_GYP_MODULE_NAME, Init)
