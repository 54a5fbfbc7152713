#include "jank/capture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "jank/dbghelp_functions.h"
#include "jank/stall_target_process.h"
#include "support/import_patch.h"
#include "support/temp_folder.h"

using jank::CaptureJankArgs;
using jank::CaptureJankResult;
using testing_support::ImportPatch;
using testing_support::ReadBytes;
using testing_support::RealFunction;
using testing_support::StallTarget;
using testing_support::TempFolder;

namespace {

CaptureJankResult Capture(DWORD processId, DWORD threadId, const std::wstring& janksDir) {
  CaptureJankArgs args;
  args.processId = processId;
  args.threadId = threadId;
  args.janksDir = janksDir;
  CaptureJankResult result;
  jank::RunCapture(args, result);
  return result;
}

std::vector<std::string> Lines(const std::string& trace) {
  std::vector<std::string> lines;
  for (size_t start = 0, end; (end = trace.find("\r\n", start)) != std::string::npos; start = end + 2) {
    lines.push_back(trace.substr(start, end - start));
  }
  return lines;
}

/// How often a thread is suspended now.
DWORD SuspendCount(DWORD threadId) {
  const win::UniqueHandle thread(OpenThread(THREAD_SUSPEND_RESUME, FALSE, threadId));
  const DWORD count = SuspendThread(thread.Get());
  ResumeThread(thread.Get());
  return count;
}

std::vector<std::wstring> FilesIn(const TempFolder& folder) {
  std::vector<std::wstring> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder.Path()))
    names.push_back(entry.path().filename());
  std::sort(names.begin(), names.end());
  return names;
}

/// Puts scripted functions into the process's table until it goes out of scope.
class ScriptedTable {
 public:
  ScriptedTable() : saved_(*GetDbgHelpFunctions()) {}
  ~ScriptedTable() { *GetDbgHelpFunctions() = saved_; }
  ScriptedTable(const ScriptedTable&) = delete;
  ScriptedTable& operator=(const ScriptedTable&) = delete;
  DbgHelpFunctions* operator->() { return GetDbgHelpFunctions(); }
  const DbgHelpFunctions& Saved() const { return saved_; }

 private:
  DbgHelpFunctions saved_;
};

// The steps of a capture in the order in which they really happen.
std::vector<std::string> steps;
const DbgHelpFunctions* realTable = nullptr;
auto* const realSuspend = RealFunction<decltype(SuspendThread)>(L"kernel32.dll", "SuspendThread");
auto* const realResume = RealFunction<decltype(ResumeThread)>(L"kernel32.dll", "ResumeThread");
auto* const realCreateFile = RealFunction<decltype(CreateFileW)>(L"kernel32.dll", "CreateFileW");
auto* const realCloseHandle = RealFunction<decltype(CloseHandle)>(L"kernel32.dll", "CloseHandle");
auto* const realOpenProcess = RealFunction<decltype(OpenProcess)>(L"kernel32.dll", "OpenProcess");
auto* const realOpenThread = RealFunction<decltype(OpenThread)>(L"kernel32.dll", "OpenThread");

BOOL WINAPI RecordDump(HANDLE process, DWORD processId, HANDLE file, MINIDUMP_TYPE type,
                       PMINIDUMP_EXCEPTION_INFORMATION exception, PMINIDUMP_USER_STREAM_INFORMATION streams,
                       PMINIDUMP_CALLBACK_INFORMATION callback) {
  const bool asWanted = type == 0x1920 && exception && !exception->ExceptionPointers && !exception->ClientPointers &&
                        !streams && !callback;
  steps.push_back(asWanted ? "dump" : "?");
  return realTable->MiniDumpWriteDump(process, processId, file, type, exception, streams, callback);
}
BOOL WINAPI RecordStackWalk(DWORD machine, HANDLE process, HANDLE thread, LPSTACKFRAME64 frame, PVOID context,
                            PREAD_PROCESS_MEMORY_ROUTINE64 read, PFUNCTION_TABLE_ACCESS_ROUTINE64 table,
                            PGET_MODULE_BASE_ROUTINE64 base, PTRANSLATE_ADDRESS_ROUTINE64 translate) {
  if (steps.back() != "walk") steps.push_back(machine == 0x8664 && !read && !translate ? "walk" : "?");
  return realTable->StackWalk64(machine, process, thread, frame, context, read, table, base, translate);
}
DWORD WINAPI RecordSuspend(HANDLE thread) {
  steps.push_back("suspend");
  return realSuspend(thread);
}
DWORD WINAPI FailRecordedResume(HANDLE thread) {
  steps.push_back("resume");
  realResume(thread);
  return 0xFFFFFFFF;
}
HANDLE WINAPI RecordCreateFile(LPCWSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
                               DWORD disposition, DWORD flags, HANDLE templateFile) {
  const bool asWanted = access == GENERIC_WRITE && share == FILE_SHARE_WRITE && !security &&
                        disposition == CREATE_ALWAYS && flags == FILE_ATTRIBUTE_NORMAL && !templateFile;
  steps.push_back(asWanted ? "create file" : "?");
  return realCreateFile(path, access, share, security, disposition, flags, templateFile);
}
HANDLE WINAPI RecordOpenProcess(DWORD access, BOOL inherit, DWORD id) {
  steps.push_back(access == 0x1FFFFF && !inherit ? "open process" : "?");
  return realOpenProcess(access, inherit, id);
}
HANDLE WINAPI RecordOpenThread(DWORD access, BOOL inherit, DWORD id) {
  steps.push_back(access == 0x1FFFFF && !inherit ? "open thread" : "?");
  return realOpenThread(access, inherit, id);
}
BOOL WINAPI RecordCloseHandle(HANDLE handle) {
  steps.push_back("close");
  return realCloseHandle(handle);
}

}  // namespace

TEST(Capture, GivesEachFrameInItsFunctionAndLetsTheThreadRunAgain) {
  StallTarget target({"chain"});
  const TempFolder folder(L" \u76f4\u64ad \u00e4");
  const CaptureJankResult result = Capture(target.processId, target.threadId, folder.Prefix());
  EXPECT_EQ(result.errorText, "");
  EXPECT_TRUE(result.dumpJankResult.succ);
  EXPECT_EQ(result.dumpJankResult.errorText, "");
  EXPECT_EQ(result.captureStackResult.errorText, "");

  const auto lines = Lines(result.captureStackResult.stackTrace);
  const auto innermost =
      std::find_if(lines.begin(), lines.end(), [&](const std::string& line) { return target.IsIn(line, "Innermost"); });
  ASSERT_GE(lines.end() - innermost, 3) << result.captureStackResult.stackTrace;
  EXPECT_TRUE(target.IsIn(innermost[1], "StallInLibrary")) << innermost[1];
  EXPECT_TRUE(target.IsIn(innermost[2], "Outer")) << innermost[2];
  EXPECT_EQ(target.places["StallInLibrary"].module, "stall_library.dll");

  const std::string json = result.jsonFilename;
  const std::string dump = json.substr(0, json.find(".dmp") + 4);
  EXPECT_EQ(json, dump + "-" + std::to_string(target.threadId) + ".json");
  EXPECT_EQ(ReadBytes(folder.Path() / dump).substr(0, 4), "MDMP");
  EXPECT_NE(ReadBytes(folder.Path() / json).find("\"dmp_file\":\"" + dump + "\""), std::string::npos);
  EXPECT_EQ(FilesIn(folder).size(), 2U);
  EXPECT_EQ(SuspendCount(target.threadId), 0U);
}

TEST(Capture, ReturnsAChainOfFiveHundredFramesWhole) {
  StallTarget target({"deep", "500"});
  const TempFolder folder;
  const auto lines = Lines(Capture(target.processId, target.threadId, folder.Prefix()).captureStackResult.stackTrace);
  EXPECT_EQ(std::count_if(lines.begin(), lines.end(), [&](const auto& line) { return target.IsIn(line, "Descend"); }),
            500);
}

/// Windows walks on from code that no module holds as from a leaf function; Wine's walker gives up where it is told of
/// no module, so it is told of one.
DWORD64 WINAPI SomeModuleBase(HANDLE process, DWORD64 address) {
  const DWORD64 base = realTable->SymGetModuleBase64(process, address);
  return base ? base : address;
}

TEST(Capture, NamesAProgramCounterInNoModuleUnknown) {
  StallTarget target({"nowhere"});
  const TempFolder folder;
  ScriptedTable table;
  realTable = &table.Saved();
  table->SymGetModuleBase64 = &SomeModuleBase;
  const auto lines = Lines(Capture(target.processId, target.threadId, folder.Prefix()).captureStackResult.stackTrace);
  ASSERT_FALSE(lines.empty());
  std::ostringstream expected;
  expected << "<unknown>!0x" << std::hex << target.places["nowhere"].begin;
  EXPECT_EQ(lines.front(), expected.str());
  EXPECT_GT(lines.size(), 3U) << "and the walk went on from there";
}

TEST(Capture, FollowsItsOrderAndKeepsTheLastError) {
  StallTarget target({"chain"});
  const TempFolder folder;
  ScriptedTable table;
  realTable = &table.Saved();
  table->Lock = [] {
    steps.push_back("lock");
    realTable->Lock();
  };
  table->Unlock = [] {
    steps.push_back("unlock");
    realTable->Unlock();
  };
  table->SymInitialize = [](HANDLE process, auto path, BOOL invade) {
    steps.push_back(path == nullptr && invade ? "start symbols" : "?");
    return realTable->SymInitialize(process, path, invade);
  };
  table->SymCleanup = [](HANDLE process) {
    steps.push_back("stop symbols");
    realTable->SymCleanup(process);
    return FALSE;
  };
  table->MiniDumpWriteDump = &RecordDump;
  table->EnumerateLoadedModulesW64 = [](auto... arguments) {
    steps.push_back("enumerate");
    return realTable->EnumerateLoadedModulesW64(arguments...);
  };
  table->StackWalk64 = &RecordStackWalk;
  steps.clear();
  CaptureJankResult result;
  {
    const ImportPatch suspend("SuspendThread", &RecordSuspend);
    const ImportPatch resume("ResumeThread", &FailRecordedResume);
    const ImportPatch createFile("CreateFileW", &RecordCreateFile);
    const ImportPatch openProcess("OpenProcess", &RecordOpenProcess);
    const ImportPatch openThread("OpenThread", &RecordOpenThread);
    const ImportPatch close("CloseHandle", &RecordCloseHandle);
    result = Capture(target.processId, target.threadId, folder.Prefix());
  }
  const std::vector<std::string> expected = {
      "open process", "lock",  "start symbols", "unlock",    "open thread",  "lock",   "suspend",
      "create file",  "dump",  "close",         "enumerate", "walk",         "resume", "unlock",
      "create file",  "close", "close",         "lock",      "stop symbols", "unlock", "close"};
  EXPECT_EQ(steps, expected);
  EXPECT_EQ(result.errorText, "Failed to cleanup dbghelp") << "which replaces the error of the resume";
  EXPECT_FALSE(result.jsonFilename.empty()) << "written although the resume failed";
}

namespace {

// Holds two captures back, each before the lock of its frozen section, until both have chosen a dump name; then lets
// the one that chose first go first.
std::mutex meetingLock;
std::condition_variable meeting;
int arrived = 0;
bool firstInside = false;

void MeetBeforeFreezing() {
  thread_local int locks = 0;
  if (++locks != 2) return realTable->Lock();
  std::unique_lock lock(meetingLock);
  const bool first = ++arrived == 1;
  meeting.notify_all();
  meeting.wait(lock, [&] { return first ? arrived == 2 : firstInside; });
  if (first) {
    realTable->Lock();
    firstInside = true;
    meeting.notify_all();
  } else {
    lock.unlock();
    realTable->Lock();
  }
}

int dumps = 0;

}  // namespace

TEST(Capture, TwoThreadsOfOneStallShareADumpAndLeaveTwoReports) {
  StallTarget target({"chain"});
  const TempFolder folder;
  ScriptedTable table;
  realTable = &table.Saved();
  table->Lock = &MeetBeforeFreezing;
  table->MiniDumpWriteDump = [](auto... arguments) {
    ++dumps;
    return realTable->MiniDumpWriteDump(arguments...);
  };
  CaptureJankResult first;
  CaptureJankResult second;
  std::thread firstCapture([&] { first = Capture(target.processId, target.threadId, folder.Prefix()); });
  {
    std::unique_lock lock(meetingLock);
    meeting.wait(lock, [] { return arrived == 1; });
  }
  std::thread secondCapture([&] { second = Capture(target.processId, target.otherThreadId, folder.Prefix()); });
  firstCapture.join();
  secondCapture.join();

  EXPECT_EQ(dumps, 1);
  EXPECT_TRUE(first.dumpJankResult.succ && second.dumpJankResult.succ);
  EXPECT_NE(first.jsonFilename, second.jsonFilename);
  EXPECT_EQ(SuspendCount(target.threadId), 0U);
  EXPECT_EQ(SuspendCount(target.otherThreadId), 0U);
  const auto files = FilesIn(folder);
  ASSERT_EQ(files.size(), 3U) << "one dump, two reports";
  for (const std::string& json : {first.jsonFilename, second.jsonFilename}) {
    EXPECT_NE(ReadBytes(folder.Path() / json).find(std::filesystem::path(files[0]).string()), std::string::npos);
  }
}
