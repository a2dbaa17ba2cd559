// The picture of a view as lines of text, for a terminal of a given size: important things first,
// the rest page by page. Pure.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "tools/lab/text_layout.h"
#include "tools/lab/view_model.h"

namespace tools::lab {

enum class page { channels, ladder, devices, panel, events };

struct picture_options {
  std::string product;
  std::chrono::seconds running{0};
  page shown = page::channels;
  unsigned first_row = 0;    ///< how far the page is scrolled
  std::string command = {};  ///< the last line: a command that works as shown
  std::string web = {};      ///< address of the node's page; may be empty
  std::string node = {};     ///< which of two nodes this is; empty for a single node
};

struct drawn_picture {
  std::vector<std::string> lines;  ///< at most `rows`, none wider than `columns` on the screen
  unsigned last_first_row = 0;     ///< largest sensible `first_row`
  unsigned page_rows = 0;          ///< number of the page's rows visible at once
};

drawn_picture picture(const view& seen, const picture_options& options, screen_size size, look how);

}  // namespace tools::lab
