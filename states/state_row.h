// How a state is shown to people: its text on the tree, whether it needs somebody, and a colour.
// Shared by daemon, command line and screen. Constant tables; any thread may read them.
#pragma once

namespace states {

enum class severity {
  quiet,    ///< nothing is expected: dark, blocked
  good,     ///< as it should be
  working,  ///< not yet, but will pass by itself
  person    ///< stays until somebody does something
};

enum class colour { grey, green, blue, yellow, red };

struct state_row {
  const char* text;
  severity how;
  colour shown;
};

constexpr const char* to_text(severity how) {
  constexpr const char* texts[] = {"quiet", "good", "working", "person"};
  return texts[static_cast<unsigned>(how)];
}

constexpr const char* to_text(colour shown) {
  constexpr const char* texts[] = {"grey", "green", "blue", "yellow", "red"};
  return texts[static_cast<unsigned>(shown)];
}

}  // namespace states
