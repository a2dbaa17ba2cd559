// What a terminal must be sent for one line of it to become another: only the cells that differ,
// so that a slow link carries the screen. Widths count UTF-8 characters. Pure.
#pragma once

#include <string>

namespace tools::lab {

/// `row` counts from 1; `before` is what it shows, as it was sent, in at most one colour a cell.
/// Empty if nothing differs.
std::string changed_cells(const std::string& before, const std::string& now, unsigned row);

}  // namespace tools::lab
