// The picture of a view as lines of text with ANSI colours, for a terminal of a given size. Pure.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "tools/lab/view_model.h"

namespace tools::lab {

struct screen_size {
  unsigned columns = 80;
  unsigned rows = 24;
};

struct look {
  bool colours = true;
  bool unicode = true;  ///< block characters; plain ASCII otherwise
};

struct picture_options {
  std::string product;
  std::chrono::seconds running{0};
  unsigned first_row = 0;  ///< how far the channels are scrolled
  std::string note = {};   ///< the last line: what is wrong, or what the keys do
  std::string node = {};   ///< which of two nodes this is; empty for a node alone
};

/// At most `size.rows` lines, none wider than `size.columns` on the screen.
std::vector<std::string> picture(const view& seen, const picture_options& options, screen_size size,
                                 look how);

/// Largest sensible `first_row`.
unsigned last_first_row(const view& seen, screen_size size);

/// A power on a scale of `columns` characters, with the target's place marked.
std::string power_bar(float power, float target, unsigned columns, bool unicode);

}  // namespace tools::lab
