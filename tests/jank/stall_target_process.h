#pragma once

#include <cstdint>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "support/child_process.h"

namespace testing_support {

/// A real process whose main thread is stalled in functions that it has told the places of.
class StallTarget {
 public:
  explicit StallTarget(const std::vector<std::string>& arguments)
      : process_(std::wstring(L"..\\targets\\stall_target.exe"), arguments) {
    for (std::string line = process_.ReadLine(); !line.empty(); line = process_.ReadLine()) {
      std::istringstream words(line);
      std::string name;
      words >> name;
      if (name == "ready") {
        words >> processId >> threadId >> otherThreadId;
        return;
      }
      Place& place = places[name];
      if (name != "nowhere") words >> place.module;
      words >> std::hex >> place.begin >> place.end;
    }
  }

  /// True when `line` of a trace, "module!0xoffset", lies inside the function `name`. Wine enumerates modules without
  /// their extension.
  bool IsIn(const std::string& line, const std::string& name) const {
    const Place& place = places.at(name);
    const size_t separator = line.rfind("!0x");
    const std::string module = line.substr(0, separator);
    if (module != place.module && module != place.module.substr(0, place.module.rfind('.'))) return false;
    const uint64_t offset = std::stoull(line.substr(separator + 3), nullptr, 16);
    return place.begin <= offset && offset < place.end;
  }

  struct Place {
    std::string module;
    uint64_t begin = 0;
    uint64_t end = 0;
  };

  DWORD processId = 0;
  DWORD threadId = 0;
  /// A second thread of the same process.
  DWORD otherThreadId = 0;
  std::map<std::string, Place> places;

 private:
  ChildProcess process_;
};

}  // namespace testing_support
