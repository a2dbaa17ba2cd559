// The JSON of the commands that falsify a service's readings and lose its writes: which paths, how,
// and for how long.
#pragma once

#include <chrono>
#include <string>

#include "sim/faults.h"

namespace sim {

template <class Fault>
struct fault_request {
  std::string path;  ///< or a pattern
  Fault fault;
  std::chrono::nanoseconds duration{0};  ///< 0: until healed
};

/// {"path":..,"fault":"replaced","value":-99,"seconds":60}; README.md lists all members. Both throw
/// nx_error -22, saying what is accepted.
fault_request<reading_fault> read_reading_fault(const std::string& text);
/// {"path":..,"fault":"late","delay":1.5,"every":10,"share":0.5,"seconds":60}
fault_request<write_fault> read_write_fault(const std::string& text);

struct limit_drop {
  double drop_db;
  std::chrono::nanoseconds duration;
};
/// {"db":3,"seconds":60}
limit_drop read_limit_drop(const std::string& text);

}  // namespace sim
