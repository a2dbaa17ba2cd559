// The layout of lumoractl's output: aligned columns, a tree of indented names, the record of a
// node. Pure functions from values to text.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "platform/wire/json.h"

namespace tools::ctl {

using rows = std::vector<std::pair<std::string, std::string>>;

/// Path and value of each member of an answer. `bare` omits units.
rows rows_of(const nx::json_value& members, bool bare);

/// The names in a path; one empty name for an empty path.
std::vector<std::string> segments_of(const std::string& path);

/// Two columns, the first as wide as its longest text; one line per row.
std::string columns(const rows& table);

/// Full paths, sorted, as a tree: each level once, names indented by two blanks per level. A path's
/// text in `table`, unless empty, follows its name.
std::string tree_text(const rows& table);

/// The members of an answer as levels of an object, {"line/":{"1/":{..}}}: a level's name ends in a
/// slash, as in `list`, since a path may be a level and a value at once.
nx::json_document tree_object(const nx::json_value& values);

/// Adds to a node's record what the tree does not have: "unit", and "constraints" as a range
/// {"min","max"} or as {"allowed":[..]}, where known.
void complete_info(const std::string& path, nx::json_value& record, nx::json_allocator& allocator);

/// One line: path, kind, value type, permitted operations, unit, accepted values, and the rest of
/// the record as JSON.
std::string info_line(const std::string& path, const nx::json_value& record);

/// "2026-01-31T12:00:00.123Z  path  value" of one event or "ended" message.
std::string event_line(const nx::json_value& message);

}  // namespace tools::ctl
