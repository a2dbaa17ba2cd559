// How a state is told to people: its text on the tree, whether it asks for somebody, and a colour.
// Daemon, command line and screen read the same rows. Constant tables; any thread may read them.
#pragma once

namespace states {

enum class severity {
  quiet,    ///< nothing is expected here: dark, blocked
  good,     ///< as it should be
  working,  ///< not yet, and it passes by itself
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
