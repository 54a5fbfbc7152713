#pragma once

#include <string>
#include <utility>
#include <vector>

namespace process_list {

/// Process id and the executable's file name (no directory) in UTF-8, in the order of the system's snapshot.
using ProcessList = std::vector<std::pair<unsigned long, std::string>>;

/// Appends every running process to `processes`, the idle process (id 0) included. Leaves it as it is when the system
/// gives no snapshot or no first entry. Throws std::bad_alloc, with what was found until then in place. Any thread.
void ListProcesses(ProcessList& processes);

}  // namespace process_list
