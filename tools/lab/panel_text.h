// The front panel's LEDs as lines of text: dots in their colours, or letters if the screen has no
// colours. Pure.
#pragma once

#include <string>
#include <vector>

#include "tools/lab/panel.h"
#include "tools/lab/text_layout.h"

namespace tools::lab {

/// One line per side, at most `columns` wide on the screen.
std::vector<std::string> panel_lines(const panel& lights, unsigned columns, look how);

}  // namespace tools::lab
