// Paths and patterns as texts: segments joined by '/', '*' for one segment, '**' at the end for
// everything below.
#pragma once

#include <string_view>
#include <utility>

namespace nx {

/// The first segment, and what follows its '/'; without a '/' the rest is empty.
std::pair<std::string_view, std::string_view> first_segment(std::string_view path);

bool is_path_pattern(std::string_view path);
bool path_matches(std::string_view pattern, std::string_view path);

/// Throws nx_error -22 for an empty segment, a '*' or a control character.
void check_new_path(std::string_view path);

}  // namespace nx
