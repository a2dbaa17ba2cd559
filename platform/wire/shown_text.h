// Texts from outside as they may be shown to people: anything that would control a terminal, break
// a line or change the reading direction is escaped.
#pragma once

#include <string>
#include <string_view>

namespace nx {

/// Control characters (C0, DEL and C1), line separators, marks of the writing direction and bytes
/// that are not UTF-8 become "
/// ", "\x1b", "\u202e" and the like. Everything else stays.
std::string shown_text(std::string_view text);
void append_shown_text(std::string& out, std::string_view text);

}  // namespace nx
