// How much clients that ask for everything hold up the answers of a device, within one process as
// in the daemon: a thread that calls the device as the loops do, and a tree that is asked
// meanwhile.
#pragma once

#include <string>

namespace bench {

/// The p99 of a device call while eight clients pipeline `info **`, to that without them. `device`
/// is a socket where "data/txPower" can be read; `folder` is for a socket of its own.
double disturbed_device_calls(const std::string& device, const std::string& folder);

}  // namespace bench
