// The pages of the lab's screen as lines, without scrolling: channels, ladders, devices, panel,
// events. Pure.
#pragma once

#include <string>
#include <vector>

#include "tools/lab/screen_text.h"

namespace tools::lab {

std::vector<std::string> page_lines(const view& seen, page which, unsigned columns, look how);

/// The newest events, at most `count` lines.
std::vector<std::string> newest_events(const view& seen, unsigned count);

}  // namespace tools::lab
