// Runs measurements in separate processes, several at a time: managers and plant use process-wide
// clocks and stores, and a crash affects only one.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tests/loops/bars/bar.h"

namespace bars {

struct job {
  const bar* of;
  std::string model;
  std::uint64_t seed;
  std::optional<figures> found;  ///< none when the measurement failed
  double seconds = 0.0;          ///< of real time
};

/// Fills in `found`; calls `done` in this process after each. Throws std::system_error.
void run_all(std::vector<job>& jobs, unsigned at_a_time,
             const std::function<void(const job&)>& done);

}  // namespace bars
