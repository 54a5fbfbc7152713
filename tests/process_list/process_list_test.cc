#include "process_list/process_list.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <tlhelp32.h>

#include <string>
#include <vector>

#include "support/import_patch.h"

using process_list::ProcessList;
using testing_support::ImportPatch;

namespace {

/// The processes that the stand-in plays, and how often its snapshot was closed. An empty list has no first entry.
std::vector<std::pair<DWORD, std::wstring>> processes;
bool refuseSnapshot = false;
size_t position = 0;
int closed = 0;
const HANDLE kSnapshot = reinterpret_cast<HANDLE>(0x1234);

HANDLE WINAPI PlaySnapshot(DWORD flags, DWORD processId) {
  EXPECT_EQ(flags, static_cast<DWORD>(TH32CS_SNAPPROCESS));
  EXPECT_EQ(processId, 0U);
  return refuseSnapshot ? INVALID_HANDLE_VALUE : kSnapshot;
}

BOOL WINAPI PlayNext(HANDLE snapshot, PROCESSENTRY32W* entry) {
  EXPECT_EQ(snapshot, kSnapshot);
  EXPECT_EQ(entry->dwSize, 568U);
  if (position == processes.size()) return FALSE;
  entry->th32ProcessID = processes[position].first;
  wcscpy(entry->szExeFile, processes[position].second.c_str());
  ++position;
  return TRUE;
}

BOOL WINAPI CountClose(HANDLE handle) {
  closed += handle == kSnapshot ? 1 : 0;
  return TRUE;
}

ProcessList List() {
  const ImportPatch snapshot("CreateToolhelp32Snapshot", &PlaySnapshot);
  const ImportPatch first("Process32FirstW", &PlayNext);
  const ImportPatch next("Process32NextW", &PlayNext);
  const ImportPatch close("CloseHandle", &CountClose);
  position = 0;
  closed = 0;
  ProcessList list;
  process_list::ListProcesses(list);
  return list;
}

}  // namespace

TEST(ProcessList, KeepsEveryEntryInTheSnapshotsOrder) {
  processes = {{4, L"same.exe"}, {0, L""}, {4294967295, L"\u76f4\u64ad\xd83d\xde00.exe"}, {2, L"same.exe"}};
  const ProcessList expected = {
      {4, "same.exe"}, {0, ""}, {4294967295, "\xe7\x9b\xb4\xe6\x92\xad\xf0\x9f\x98\x80.exe"}, {2, "same.exe"}};
  EXPECT_EQ(List(), expected);
  EXPECT_EQ(closed, 1);
}

TEST(ProcessList, IsEmptyWithoutASnapshotOrAFirstEntry) {
  processes.clear();
  EXPECT_TRUE(List().empty());
  EXPECT_EQ(closed, 1);
  processes = {{4, L"a.exe"}};
  refuseSnapshot = true;
  EXPECT_TRUE(List().empty());
  EXPECT_EQ(closed, 0);
  refuseSnapshot = false;
}
