#pragma once

#include <string>
#include <utility>
#include <vector>

namespace process_list {

/// Process ids and the file names of the executables (without directory, in UTF-8), in the order of the system's
/// snapshot.
using ProcessList = std::vector<std::pair<unsigned long, std::string>>;

/// Puts every running process into `processes`, which the caller passes empty; the idle process (id 0) is one of them.
/// `processes` stays empty if the system gives no snapshot or no first entry. Throws std::bad_alloc; `processes` is
/// empty then too. Any thread.
void ListProcesses(ProcessList& processes);

}  // namespace process_list
