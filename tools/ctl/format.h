// How lumoractl lays out what it read: aligned columns, a tree of indented names, the record of a
// node. Pure functions from values to text.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "platform/wire/json.h"

namespace tools::ctl {

using rows = std::vector<std::pair<std::string, std::string>>;

/// Path and value of each member of an answer. `bare` leaves units off.
rows rows_of(const nx::json_value& members, bool bare);

/// Two columns, the first as wide as its longest text; one line a row.
std::string columns(const rows& table);

/// Full paths, sorted, as a tree: levels once, names indented by two blanks a level. A path's text
/// in `table`, when not empty, stands behind its name.
std::string tree_text(const rows& table);

/// One line: path, kind, value type, what may be done with it, and the rest of the record as JSON.
std::string info_line(const std::string& path, const nx::json_value& record);

/// "2026-01-31T12:00:00.123Z  path  value" of one event or "ended" message.
std::string event_line(const nx::json_value& message);

}  // namespace tools::ctl
