// Patterns as typed by people. The tree supports '*' for one whole segment and '**' at the end;
// anything else would match nothing there and leave the user wondering.
#pragma once

#include <string>

namespace tools::ctl {

/// Throws usage_error, suggesting what would work, for a '*' among other characters and a '**' that
/// is not at the end.
void check_pattern(const std::string& path);

}  // namespace tools::ctl
