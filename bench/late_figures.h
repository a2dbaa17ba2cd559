// The figures of a node whose devices, or whose peer, answer late: how long a cycle and the start
// take then, what a cycle asks, and how its cost grows with its channels.
#pragma once

#include <string>

namespace bench {

/// Measures and prints, `only` "adds" that figure alone. True if every goal is reached.
bool measure_late_nodes(const std::string& only);

}  // namespace bench
