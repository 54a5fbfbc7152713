#include "process_list/process_list.h"

#include <windows.h>

#include <tlhelp32.h>

#include <utility>

#include "win/text.h"
#include "win/unique_resource.h"

namespace process_list {

void ListProcesses(ProcessList& processes) {
  const win::UniqueFile snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
  if (!snapshot) return;
  ProcessList found;
  PROCESSENTRY32W entry{};
  entry.dwSize = sizeof(entry);
  for (BOOL more = Process32FirstW(snapshot.Get(), &entry); more; more = Process32NextW(snapshot.Get(), &entry)) {
    found.emplace_back(entry.th32ProcessID, win::WideToUtf8(entry.szExeFile));
  }
  // Stored only now: if memory runs out before the last process, an incomplete list would look complete.
  processes = std::move(found);
}

}  // namespace process_list
