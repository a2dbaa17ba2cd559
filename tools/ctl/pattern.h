// Patterns as a person types them. The tree knows '*' for one whole segment and '**' at the end;
// anything else fits nothing there and leaves the user wondering.
#pragma once

#include <string>

namespace tools::ctl {

/// Throws usage_error with what would fit, on a '*' among other characters and on a '**' that is
/// not at the end.
void check_pattern(const std::string& path);

}  // namespace tools::ctl
