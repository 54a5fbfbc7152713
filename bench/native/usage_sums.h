#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace bench {

/// One instance of the GPU engine counter.
struct Instance {
  std::wstring name;
  double value;
};

/// `count` instances named as the system names them: the engine kinds take turns, and every sixteen instances belong to
/// a new process.
std::vector<Instance> MakeInstances(size_t count);

struct TimedSums {
  /// All twelve sums of the last round added up, to check that the two sides did the same.
  double total = 0;
  double nanoseconds = 0;
};

/// Sums `instances` `rounds` times with the module's accumulator.
TimedSums SumWithAccumulator(const std::vector<Instance>& instances, size_t rounds);

/// The same without the accumulator: makes a lower-case copy of each name and calls wcsstr for each marker.
TimedSums SumBare(const std::vector<Instance>& instances, size_t rounds);

}  // namespace bench
