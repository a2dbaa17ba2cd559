// What a parameter of the daemon takes, for people and programs that write one: a range or the
// words. A record of the tree may tell it itself; this table knows what today's daemon refuses.
#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace tools {

struct accepted_values {
  double min = 0.0;  ///< both ends belong to it, in the unit of the path
  double max = 0.0;
  std::array<std::string_view, 5> words = {};  ///< in place of a range; empty ones behind
};

/// Empty where everything of the path's type is taken, or nothing is known.
std::optional<accepted_values> accepted_at(std::string_view path);

}  // namespace tools
