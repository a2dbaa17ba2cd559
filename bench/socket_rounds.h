// The figures of the server library, as ratios to the bare socket in the same round.
#pragma once

#include <string>

namespace bench {

/// Measures and prints. `folder` is for the sockets; `only` is part of the name of a figure to
/// measure, for profiling. True if every goal is reached.
bool compare_servers(const std::string& folder, unsigned rounds, const std::string& only);

}  // namespace bench
