// The values that a daemon's parameter accepts, for people and programs that write one: a range or
// a list of words. A tree's own record may say so; this table covers what today's daemon refuses
// otherwise.
#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace tools {

struct accepted_values {
  double min = 0.0;  ///< inclusive, in the unit of the path
  double max = 0.0;
  std::array<std::string_view, 5> words = {};  ///< instead of a range; unused ones are empty
};

/// Empty if everything of the path's type is accepted, or nothing is known.
std::optional<accepted_values> accepted_at(std::string_view path);

}  // namespace tools
