#include "jank/dbghelp_functions.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <iostream>
#include <set>
#include <sstream>
#include <thread>
#include <utility>
#include <vector>

#include "support/child_process.h"
#include "support/import_patch.h"

// The table is made once in a process, so every case runs in a process of its own.

using testing_support::ChildProcess;
using testing_support::ImportPatch;
using testing_support::RealFunction;

namespace {

auto* const realLoadLibrary = RealFunction<decltype(LoadLibraryW)>(L"kernel32.dll", "LoadLibraryW");
auto* const realGetProcAddress = RealFunction<decltype(GetProcAddress)>(L"kernel32.dll", "GetProcAddress");

std::atomic<int> loads = 0;
std::vector<DWORD> symbolErrors;
size_t attempts = 0;
int cleanUps = 0;

HMODULE WINAPI ReEnterOnce(LPCWSTR name) {
  static bool entered = false;
  if (!std::exchange(entered, true)) GetDbgHelpFunctions()->Lock();
  return realLoadLibrary(name);
}

HMODULE WINAPI CountLoad(LPCWSTR name) {
  if (std::wstring(name) == L"DbgHelp") ++loads;
  return realLoadLibrary(name);
}

/// Fails with the scripted errors in turn, 0 being success; without a script it succeeds.
BOOL WINAPI ScriptedSymInitialize(HANDLE process, PCSTR searchPath, BOOL invade) {
  if (process != GetCurrentProcess() || searchPath || !invade) return FALSE;
  const DWORD error = attempts < symbolErrors.size() ? symbolErrors[attempts] : 0;
  ++attempts;
  SetLastError(error);
  return error == 0;
}

BOOL WINAPI CountSymCleanup(HANDLE) {
  ++cleanUps;
  return TRUE;
}

FARPROC WINAPI ScriptedGetProcAddress(HMODULE module, LPCSTR name) {
  if (std::strcmp(name, "SymInitialize") == 0) return reinterpret_cast<FARPROC>(&ScriptedSymInitialize);
  if (std::strcmp(name, "SymCleanup") == 0) return reinterpret_cast<FARPROC>(&CountSymCleanup);
  return realGetProcAddress(module, name);
}

/// What a child prints, without its line end.
std::string Output(const char* child, const std::vector<std::string>& arguments = {}) {
  ChildProcess process(child, arguments);
  std::string line = process.ReadLine();
  EXPECT_EQ(process.Wait(), 0U);
  return line;
}

}  // namespace

CHILD_MAIN(SymbolErrors) {
  const ImportPatch load("LoadLibraryW", &CountLoad);
  const ImportPatch find("GetProcAddress", &ScriptedGetProcAddress);
  for (const std::string& error : arguments)
    symbolErrors.push_back(std::stoul(error));
  for (int call = 0; call < 2; ++call) {
    std::cout << (GetDbgHelpFunctions() ? "table" : "null") << " after " << attempts << " attempts, " << cleanUps
              << " clean-ups; ";
  }
  std::cout << loads << " loads\n";
  return 0;
}

CHILD_MAIN(EightThreads) {
  const ImportPatch patch("LoadLibraryW", &CountLoad);
  std::atomic<int> waiting = 8;
  std::vector<DbgHelpFunctions*> tables(8);
  std::vector<std::thread> threads;
  for (auto& table : tables) {
    threads.emplace_back([&] {
      --waiting;
      while (waiting > 0)
        SwitchToThread();
      table = GetDbgHelpFunctions();
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  std::cout << std::set(tables.begin(), tables.end()).size() << " table, null " << (tables[0] == nullptr) << ", loads "
            << loads << "\n";
  return 0;
}

TEST(DbgHelpFunctions, RetriesTheSymbolStartAsTheErrorAsks) {
  const std::string changed = std::to_string(0xC0000004);
  const auto twoCalls = [](const std::vector<std::string>& errors) { return Output("SymbolErrors", errors); };
  EXPECT_EQ(twoCalls({changed, changed, "0"}),
            "table after 3 attempts, 0 clean-ups; table after 3 attempts, 0 clean-ups; 1 loads");
  EXPECT_EQ(twoCalls({changed, changed, changed, "0"}),
            "null after 3 attempts, 0 clean-ups; table after 4 attempts, 0 clean-ups; 1 loads");
  EXPECT_EQ(twoCalls({"5", changed, "5"}),
            "null after 1 attempts, 0 clean-ups; null after 3 attempts, 0 clean-ups; 1 loads");
  EXPECT_EQ(twoCalls({"87", "0"}), "table after 2 attempts, 1 clean-ups; table after 2 attempts, 1 clean-ups; 1 loads");
  EXPECT_EQ(twoCalls({"87", "87", "87", changed, changed, "0"}),
            "null after 2 attempts, 1 clean-ups; table after 6 attempts, 2 clean-ups; 1 loads");
}

CHILD_MAIN(ReEnteredWhileLoading) {
  const ImportPatch patch("LoadLibraryW", &ReEnterOnce);
  const DbgHelpFunctions* const table = GetDbgHelpFunctions();
  std::atomic<bool> held = false;
  std::thread other([&] {
    table->Lock();
    held = true;
    table->Unlock();
  });
  Sleep(50);
  std::cout << "held by another " << held << "\n";
  table->Unlock();
  other.join();
  return 0;
}

TEST(DbgHelpFunctions, KeepsItsLockWhenLoadingLeadsBackHere) {
  EXPECT_EQ(Output("ReEnteredWhileLoading"), "held by another 0");
}

TEST(DbgHelpFunctions, IsLoadedOnceByEightThreadsAtOnce) {
  EXPECT_EQ(Output("EightThreads"), "1 table, null 0, loads 1");
}
