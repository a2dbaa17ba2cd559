// The diagnosis of the line: why it is not regulated, or that it is being adjusted, from its state
// and what its instruments see. Pure; called by findings_of.
#pragma once

#include <vector>

#include "tools/insight/findings.h"

namespace tools::insight {

bool is_found(const std::vector<finding>& found, cause of);

/// `found` already names the devices that are silent: what they bring about is not told again.
void add_line(const node_insight& node, std::vector<finding>& found);

}  // namespace tools::insight
