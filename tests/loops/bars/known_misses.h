// Where the control law itself misses a bar, with its worst figure. docs/control.md says why; any
// worse figure is a fault.
#pragma once

#include <string>
#include <vector>

namespace bars {

struct known_miss {
  const char* bar;
  const char* what;
  const char* models;  ///< models concerned, separated by blanks
  double at_most;
};

const std::vector<known_miss>& known_misses();

/// The limit including the known miss of this model: never lower than `limit`.
double limit_for(const std::string& bar, const std::string& what, const std::string& model,
                 double limit);

}  // namespace bars
