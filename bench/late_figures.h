// The figures of a node whose devices, or whose peer, answer late: how long a cycle and the start
// take then, what a cycle asks, and how its cost grows with its channels.
#pragma once

namespace bench {

/// Measures and prints. True if every goal is reached.
bool measure_late_nodes();

}  // namespace bench
