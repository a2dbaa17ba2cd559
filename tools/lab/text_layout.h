// Text for a terminal of a given width: truncated, wrapped, coloured. Widths count UTF-8
// characters. Pure.
#pragma once

#include <string>
#include <string_view>
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

/// By the value of TERM and the name of the locale. Terminals whose fonts lack block characters get
/// plain ones, whatever the locale, and those of glass no colours either.
look look_of(std::string_view terminal, std::string_view locale, bool wants_colours);

unsigned width_of(const std::string& text);
/// Truncated to `columns`, without a mark.
std::string cut(const std::string& text, unsigned columns);
/// Truncated to `columns`, with an ellipsis if something is missing.
std::string shortened(const std::string& text, unsigned columns, look how);
/// Wrapped between words; lines after the first begin with `indent`.
std::vector<std::string> wrapped(const std::string& text, unsigned columns,
                                 const std::string& indent = "");

// The sixteen colours that every terminal has.
std::string bold(const std::string& text, look how);
std::string faint(const std::string& text, look how);
std::string painted(const std::string& text, states::colour colour, look how);

}  // namespace tools::lab
