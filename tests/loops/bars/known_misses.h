// Where the law of regulation itself does not reach a bar, with the figure it comes to at most.
// docs/control.md tells why; any worse figure is a fault.
#pragma once

#include <string>
#include <vector>

namespace bars {

struct known_miss {
  const char* bar;
  const char* what;
  const char* models;  ///< which it holds for, apart by blanks
  double at_most;
};

const std::vector<known_miss>& known_misses();

/// The limit with what is known of this model: never lower than `limit`.
double limit_for(const std::string& bar, const std::string& what, const std::string& model,
                 double limit);

}  // namespace bars
