// Text for a terminal of a given width: cut, wrapped, coloured. Widths count characters of UTF-8.
// Pure.
#pragma once

#include <string>
#include <vector>

#include "states/state_row.h"

namespace tools::lab {

struct screen_size {
  unsigned columns = 80;
  unsigned rows = 24;
};

struct look {
  bool colours = true;
  bool unicode = true;  ///< block characters; plain ASCII otherwise
};

unsigned width_of(const std::string& text);
/// To at most `columns`, without a mark.
std::string cut(const std::string& text, unsigned columns);
/// To at most `columns`, with an ellipsis where something is missing.
std::string shortened(const std::string& text, unsigned columns, look how);
/// Broken between words; lines behind the first begin with `indent`.
std::vector<std::string> wrapped(const std::string& text, unsigned columns,
                                 const std::string& indent = "");

// The sixteen colours that every terminal has.
std::string bold(const std::string& text, look how);
std::string faint(const std::string& text, look how);
std::string painted(const std::string& text, states::colour colour, look how);

}  // namespace tools::lab
