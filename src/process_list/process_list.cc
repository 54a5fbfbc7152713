#include "process_list/process_list.h"

#include <windows.h>

#include <tlhelp32.h>

#include "win/text.h"
#include "win/unique_resource.h"

namespace process_list {

void ListProcesses(ProcessList& processes) {
  const win::UniqueFile snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
  if (!snapshot) return;
  PROCESSENTRY32W entry{};
  entry.dwSize = sizeof(entry);
  for (BOOL more = Process32FirstW(snapshot.Get(), &entry); more; more = Process32NextW(snapshot.Get(), &entry)) {
    processes.emplace_back(entry.th32ProcessID, win::WideToUtf8(entry.szExeFile));
  }
}

}  // namespace process_list
