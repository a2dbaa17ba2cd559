// The front panel as its service shows it: the colours of the LEDs, by side and port. Pure.
#pragma once

#include <string>
#include <vector>

#include "tools/common/readings.h"

namespace tools::lab {

/// Colours as words: "off", "green", "yellow", "orange", "red".
struct panel_side {
  std::string line;
  std::vector<std::string> clients;         ///< port 1 first
  std::vector<std::string> cross_connects;  ///< the same; empty if the model has none
};

struct panel {
  panel_side rx, tx;
};

/// `prefix` precedes the paths of the panel's tree.
panel panel_of(const readings& read, const std::string& prefix);

}  // namespace tools::lab
