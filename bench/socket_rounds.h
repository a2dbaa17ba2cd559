// The figures of the server library, as ratios to the bare socket in the same round.
#pragma once

#include <string>

namespace bench {

/// Measures and prints. `folder` takes the sockets; `only` names a figure in part, for its profile.
/// True if every goal is reached.
bool compare_servers(const std::string& folder, unsigned rounds, const std::string& only);

}  // namespace bench
