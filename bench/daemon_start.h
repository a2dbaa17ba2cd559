// The start of a daemon whose store and devices are there.
#pragma once

#include <string>

#include "bench/process_use.h"
#include "tests/support/daemon_node.h"

namespace bench {

/// The time from its start to the end of its first cycle, without the second that is to be waited
/// between configuration and cycle. Throws std::runtime_error when it takes too long.
seconds start_to_first_cycle(test::daemon_node& node, const std::string& product);

}  // namespace bench
