// What pages cost: 96 channels in both directions, a gateway beside the daemon, 20 pages that watch
// what the page watches.
#pragma once

namespace bench {

/// Measures and prints. True if every goal is reached.
bool measure_gateway();

}  // namespace bench
