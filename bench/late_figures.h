// The figures of a node whose devices, or whose peer, answer late: duration of a cycle and of the
// start, number of requests in a cycle, and how its cost grows with its channels.
#pragma once

#include <string>

namespace bench {

/// Measures and prints; with `only` "adds", just that figure. True if every goal is reached.
bool measure_late_nodes(const std::string& only);

}  // namespace bench
